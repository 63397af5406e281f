// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/gadget_layout.h"

#include <gmock/gmock.h>

#include "fake_gadget.h"

namespace tavelo::usbip {
namespace {

TEST(GadgetLayout, FindsEveryEndpointOfEverySettingOnce) {
    const test::FakeGadget gadget;
    const GadgetLayout layout = layoutOf(gadget.configurationDescriptor());
    ASSERT_EQ(layout.endpoints.size(), 3U);
    EXPECT_EQ(layout.find(0x81)->type, EndpointType::isochronous);
    EXPECT_EQ(layout.find(0x81)->interval, 1U);
    EXPECT_EQ(layout.find(0x82)->type, EndpointType::bulk);
    EXPECT_EQ(layout.find(0x82)->packetSize, 512);
    EXPECT_EQ(layout.find(0x83)->interval, 16U);
    EXPECT_FALSE(layout.find(0x01));
}

TEST(GadgetLayout, ListsAnInterfaceOnceHoweverManySettingsItHas) {
    const test::FakeGadget gadget;
    EXPECT_EQ(layoutOf(gadget.configurationDescriptor()).interfaces.size(), 1U);
}

TEST(GadgetLayout, LeavesTheTransactionsOfAMicroframeOutOfThePacketSize) {
    const std::vector<std::uint8_t> endpoint{7, 5, 0x81, 5, 0x00, 0x14, 1};
    EXPECT_EQ(layoutOf(endpoint).find(0x81)->packetSize, 0x400);
}

TEST(GadgetLayout, ReadsBrokenDescriptorsUpToWhereTheyBreak) {
    const test::FakeGadget gadget;
    const auto whole = gadget.configurationDescriptor();
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_LE(layoutOf(whole.first(length)).endpoints.size(), 3U);
    std::vector<std::uint8_t> endless(whole.begin(), whole.end());
    endless[9] = 0; // a descriptor of no length
    EXPECT_TRUE(layoutOf(endless).interfaces.empty());
    endless[9] = 1;
    EXPECT_TRUE(layoutOf(endless).interfaces.empty());
}

TEST(GadgetLayout, TakesAnEndpointDescriptorThatIsTooShortForNone) {
    const std::vector<std::uint8_t> descriptor{6, 5, 0x81, 5, 64, 0};
    EXPECT_TRUE(layoutOf(descriptor).endpoints.empty());
}

TEST(GadgetLayout, DescribesTheDeviceFromItsDescriptors) {
    const test::FakeGadget gadget;
    const ExportedDevice device = describe(gadget, "4-7");
    EXPECT_EQ(device.busId, "4-7");
    EXPECT_EQ(device.busNumber, 4U);
    EXPECT_EQ(device.deviceNumber, 8U);
    EXPECT_EQ(device.vendorID, 0x1234);
    EXPECT_EQ(device.productID, 0x5678);
    EXPECT_EQ(device.release, 0x0105);
    EXPECT_EQ(device.deviceClass.interfaceClass, 0xEF);
    EXPECT_EQ(device.configurationValue, 3);
    EXPECT_EQ(device.configurationCount, 1);
}

TEST(GadgetLayout, TheSpeedFollowsFromThePacketSizeOfEndpoint0) {
    struct Device final : UsbGadget {
        std::vector<std::uint8_t> bytes;
        std::span<const std::uint8_t> deviceDescriptor() const override { return bytes; }
        std::span<const std::uint8_t> configurationDescriptor() const override { return {}; }
        UsbReply control(const UsbSetup& /*setup*/, std::span<const std::uint8_t> /*out*/) override {
            return {};
        }
        std::optional<std::size_t> in(std::uint8_t /*endpoint*/,
                                      std::span<std::uint8_t> /*packet*/) override {
            return std::nullopt;
        }
    };
    Device device;
    const auto speed = [&](std::uint8_t version, std::uint8_t size) {
        device.bytes = {18, 1, 0, version, 0xEF, 2, 1, size, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
        return describe(device, "1-1").speed;
    };
    EXPECT_EQ(speed(2, 64), DeviceSpeed::high);
    EXPECT_EQ(speed(3, 64), DeviceSpeed::high);
    EXPECT_EQ(speed(3, 9), DeviceSpeed::super);
    EXPECT_EQ(speed(2, 9), DeviceSpeed::full);
    EXPECT_EQ(speed(2, 8), DeviceSpeed::full);
}

} // namespace
} // namespace tavelo::usbip
