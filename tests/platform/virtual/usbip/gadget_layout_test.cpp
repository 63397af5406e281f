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

} // namespace
} // namespace tavelo::usbip
