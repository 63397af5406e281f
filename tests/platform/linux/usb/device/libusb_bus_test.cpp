// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_bus.h"

#include <gtest/gtest.h>

namespace tavelo::test {
namespace {

class Libusb : public testing::Test {
protected:
    void SetUp() override {
        if (!bus) GTEST_SKIP() << "libusb finds no USB in this machine";
    }
    std::shared_ptr<LibusbBus> bus = LibusbBus::open();
};

TEST_F(Libusb, ADeviceThatIsNotThereIsGone) {
    Error error;
    EXPECT_FALSE(bus->open({255, 255}, error));
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_FALSE(error.text.empty());
}

TEST_F(Libusb, ReportsNothingWithoutChanges) {
    const auto events = bus->hotplugEvents();
    EXPECT_GE(events->descriptor(), 0);
    EXPECT_FALSE(events->receive());
}

TEST_F(Libusb, EndsAtOnceHoweverOftenItIsStarted) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        bus = LibusbBus::open();
    bus.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST(UsbAddress, IsThePathThatTheKernelGivesTheDevice) {
    EXPECT_EQ((UsbAddress{1, 5}.path()), "/dev/bus/usb/001/005");
    EXPECT_EQ((UsbAddress{12, 127}.path()), "/dev/bus/usb/012/127");
}

} // namespace
} // namespace tavelo::test
