// SPDX-License-Identifier: MIT
#include "platform/uvc/extension_units.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

const Bytes guid{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

TEST(ExtensionUnits, HaveAnIdentifierAGuidAndTheSelectorsOfTheirMap) {
    const auto unit = asExtensionUnit(extensionUnit(9, guid, {2}, {0b1000'0001, 0b1}));
    ASSERT_TRUE(unit);
    EXPECT_EQ(unit->id, 9);
    EXPECT_EQ(unit->guid[0], 1);
    EXPECT_EQ(unit->guid[15], 16);
    EXPECT_EQ(unit->selectors, std::bitset<256>(0b11'0000'0010)) << "1, 8 and 9";
}

TEST(ExtensionUnits, TheMapFollowsAllSources) {
    EXPECT_EQ(asExtensionUnit(extensionUnit(9, guid, {2, 3, 4}, {0b10}))->selectors, std::bitset<256>(0b100));
    EXPECT_EQ(asExtensionUnit(extensionUnit(9, guid, {}, {0b10}))->selectors, std::bitset<256>(0b100));
}

TEST(ExtensionUnits, AMapMayHaveMoreBitsThanThereAreSelectors) {
    const auto unit = asExtensionUnit(extensionUnit(9, guid, {2}, Bytes(200, 0xFF)));
    ASSERT_TRUE(unit);
    EXPECT_EQ(unit->selectors.count(), 255U);
    EXPECT_FALSE(unit->selectors[0]);
}

TEST(ExtensionUnits, WhatIsCutOffOrAnotherEntityIsNone) {
    const Bytes whole = extensionUnit(9, guid, {2}, {0xFF, 0xFF});
    for (std::size_t length = 0; length + 1 < whole.size(); ++length) // without iExtension it still serves
        EXPECT_FALSE(asExtensionUnit(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(length)))) << length;
    EXPECT_FALSE(asExtensionUnit(extensionUnit(0, guid, {2}, {0xFF})));
    EXPECT_FALSE(asExtensionUnit(processingUnit(9, 1, Bytes(30, 1))));
}

TEST(ExtensionUnits, OfOneIdentifierThereIsOne) {
    const Bytes first = extensionUnit(9, guid, {2}, {1});
    const Bytes second = extensionUnit(9, guid, {2}, {2});
    const Bytes other = extensionUnit(8, guid, {2}, {2});
    const std::vector<std::span<const std::uint8_t>> descriptors{first, second, other};
    const auto units = extensionUnitsOf(descriptors);
    ASSERT_THAT(units, SizeIs(2));
    EXPECT_EQ(units[0].selectors, std::bitset<256>(0b10));
    EXPECT_EQ(units[1].id, 8);
}

Bytes cameraWithUnits() {
    return configuration({videoControl(0), header(0x0110), cameraTerminal(3, {0xFF}),
                          processingUnit(5, 3, {0xFF}), extensionUnit(7, guid, {5}, {0b101}),
                          interfaceDescriptor(1, 2)});
}

TEST(ExtensionUnits, AreInTheRecordsOfACameraAndInItsFunction) {
    const BusProberDevice device = probeDescriptors(deviceDescriptor(), cameraWithUnits());
    ASSERT_THAT(device.extensionUnits, SizeIs(1));
    EXPECT_EQ(device.extensionUnits[0].id, 7);
    const UsbVideoFunction function = videoFunctionOf(cameraWithUnits(), 0);
    EXPECT_TRUE(function.lists(7, 1));
    EXPECT_FALSE(function.lists(7, 2));
    EXPECT_TRUE(function.lists(7, 3));
    EXPECT_FALSE(function.lists(8, 1));
    EXPECT_EQ(function.kindOf(7), std::nullopt) << "it is not the class's";
}

TEST(ExtensionUnits, OfAnotherControlInterfaceAreNotACameras) {
    EXPECT_THAT(probeDescriptors(deviceDescriptor(), cameraWithUnits(), 4).extensionUnits, IsEmpty());
}

} // namespace
} // namespace tavelo::test
