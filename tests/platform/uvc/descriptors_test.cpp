// SPDX-License-Identifier: MIT
#include "platform/uvc/descriptors.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

#include "descriptor_builder.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

BusProberDevice probe(const Bytes& configurationBytes) {
    return probeDescriptors(deviceDescriptor(), configurationBytes);
}

// The record with no support flag set.
BusProberDevice bare(std::int32_t terminal, std::int32_t unit) {
    BusProberDevice device;
    device.controlInterface = 0;
    device.vendorID = 0x046D;
    device.productID = 0x0825;
    device.terminalID = terminal;
    device.unitID = unit;
    return device;
}

Bytes mapWithBit(std::size_t size, std::size_t bit) {
    Bytes map(size, 0);
    map[bit / 8] = static_cast<std::uint8_t>(1U << (bit % 8));
    return map;
}

struct Flag {
    std::size_t bit;
    std::vector<bool BusProberDevice::*> sets;
};

TEST(UvcDescriptors, TakesVendorAndProductFromTheDeviceDescriptor) {
    const auto device = probeDescriptors(deviceDescriptor(0x1209, 0xBEEF), {});
    EXPECT_EQ(device.vendorID, 0x1209);
    EXPECT_EQ(device.productID, 0xBEEF);
}

TEST(UvcDescriptors, GivesNoVendorForACutOffDeviceDescriptor) {
    const Bytes whole = deviceDescriptor();
    for (std::size_t length = 0; length < 12; ++length) {
        const auto device = probeDescriptors(std::span(whole).first(length), ordinaryCamera());
        EXPECT_EQ(device.vendorID, 0) << length;
        EXPECT_EQ(device.terminalID, 3) << length;
    }
}

TEST(UvcDescriptors, EachFunctionIsKnownByItsControlInterface) {
    const Bytes two =
        configuration({interfaceDescriptor(0, 1, 0x01), videoControl(4), cameraTerminal(3, {0x02, 0, 0}),
                       interfaceDescriptor(5, 2), videoControl(2), cameraTerminal(8, {0, 0x02, 0})});
    EXPECT_EQ(probe(two).controlInterface, 4);
    EXPECT_EQ(probeDescriptors(deviceDescriptor(), two, 4).terminalID, 3);
    const auto second = probeDescriptors(deviceDescriptor(), two, 2);
    EXPECT_EQ(second.controlInterface, 2);
    EXPECT_EQ(second.terminalID, 8);
    for (const std::uint8_t other : Bytes{0, 5, 9})
        EXPECT_EQ(probeDescriptors(deviceDescriptor(), two, other).controlInterface, std::nullopt) << +other;
}

TEST(UvcDescriptors, FindsTerminalAndUnitOfAnOrdinaryCamera) {
    const auto device = probe(ordinaryCamera());
    EXPECT_EQ(device.terminalID, 3);
    EXPECT_EQ(device.unitID, 5);
    EXPECT_TRUE(device.supportScanningMode);
    EXPECT_TRUE(device.supportAutoFocus);
    EXPECT_TRUE(device.supportAutoWhiteBalance);
}

TEST(UvcDescriptors, EachBitOfTheTerminalsMapSetsItsOwnFlags) {
    using D = BusProberDevice;
    const std::vector<Flag> flags{{0, {&D::supportScanningMode}},
                                  {1, {&D::supportAutoExposureMode}},
                                  {2, {&D::supportAutoExposurePriority}},
                                  {3, {&D::supportExposureTime}},
                                  {5, {&D::supportFocus}},
                                  {7, {&D::supportIris}},
                                  {9, {&D::supportZoom}},
                                  {11, {&D::supportPan, &D::supportTilt}},
                                  {13, {&D::supportRoll}},
                                  {17, {&D::supportAutoFocus}}};
    for (std::size_t bit = 0; bit < 24; ++bit) {
        auto expected = bare(3, 5);
        for (const Flag& flag : flags) {
            if (flag.bit != bit) continue;
            for (const auto member : flag.sets)
                expected.*member = true;
        }
        const auto device =
            probe(configuration({videoControl(), header(0x0110), cameraTerminal(3, mapWithBit(3, bit)),
                                 processingUnit(5, 3, {0, 0})}));
        EXPECT_EQ(device, expected) << "bit " << bit;
    }
}

TEST(UvcDescriptors, EachBitOfTheUnitsMapSetsItsOwnFlag) {
    using D = BusProberDevice;
    const std::vector<Flag> flags{
        {0, {&D::supportBright}},       {1, {&D::supportContrast}},  {2, {&D::supportHue}},
        {3, {&D::supportSaturation}},   {4, {&D::supportSharpness}}, {5, {&D::supportGamma}},
        {6, {&D::supportWhiteBalance}}, {8, {&D::supportBacklight}}, {9, {&D::supportGain}},
        {10, {&D::supportPowerLine}},   {11, {&D::supportAutoHue}},  {12, {&D::supportAutoWhiteBalance}}};
    for (std::size_t bit = 0; bit < 24; ++bit) {
        auto expected = bare(3, 5);
        for (const Flag& flag : flags) {
            if (flag.bit == bit) expected.*flag.sets.front() = true;
        }
        const auto device = probe(configuration({videoControl(), header(0x0150), cameraTerminal(3, {0, 0, 0}),
                                                 processingUnit(5, 3, mapWithBit(3, bit), {0, 0})}));
        EXPECT_EQ(device, expected) << "bit " << bit;
    }
}

TEST(UvcDescriptors, ReadsTheLayoutsOfEveryVersion) {
    // 1.0 ends the unit with iProcessing, 1.1 adds the video standards, 1.5 widens the map to three bytes.
    struct Layout {
        std::uint16_t version;
        Bytes map;
        Bytes tail;
    };
    for (const auto& [version, map, tail] :
         {Layout{0x0100, {0x01, 0x10}, {0}}, Layout{0x0110, {0x01, 0x10}, {0, 0x3F}},
          Layout{0x0150, {0x01, 0x10, 0x04}, {0, 0x3F}}}) {
        auto expected = bare(1, 2);
        expected.supportZoom = true;
        expected.supportBright = true;
        expected.supportAutoWhiteBalance = true;
        const auto device =
            probe(configuration({videoControl(), header(version), cameraTerminal(1, {0x00, 0x02, 0x00}),
                                 processingUnit(2, 1, map, tail)}));
        EXPECT_EQ(device, expected) << std::hex << version;
    }
}

TEST(UvcDescriptors, ShortMapsLeaveTheirMissingBitsUnset) {
    const auto device =
        probe(configuration({videoControl(), cameraTerminal(3, {0x02}), processingUnit(5, 3, {})}));
    auto expected = bare(3, 5);
    expected.supportAutoExposureMode = true;
    EXPECT_EQ(device, expected);
}

TEST(UvcDescriptors, IgnoresTerminalsThatAreNoCamera) {
    const auto device = probe(configuration(
        {videoControl(), otherTerminal(1), cameraTerminal(7, {0x08, 0, 0}), processingUnit(9, 7, {0, 0})}));
    EXPECT_EQ(device.terminalID, 7);
    EXPECT_TRUE(device.supportExposureTime);
}

TEST(UvcDescriptors, TakesTheFirstOfSeveralTerminals) {
    const auto device = probe(configuration({videoControl(), cameraTerminal(4, {0x01, 0, 0}),
                                             cameraTerminal(6, {0x02, 0, 0}), processingUnit(9, 6, {0, 0})}));
    EXPECT_EQ(device.terminalID, 4);
    EXPECT_TRUE(device.supportScanningMode);
    EXPECT_FALSE(device.supportAutoExposureMode);
}

TEST(UvcDescriptors, TakesTheUnitThatTheTerminalFeeds) {
    const auto device =
        probe(configuration({videoControl(), processingUnit(8, 6, {0x02, 0}), cameraTerminal(4, {0, 0, 0}),
                             cameraTerminal(6, {0, 0, 0}), selectorUnit(11, {6, 4}), extensionUnit(12, 11),
                             processingUnit(9, 12, {0x01, 0})}));
    EXPECT_EQ(device.terminalID, 4);
    EXPECT_EQ(device.unitID, 9);
    EXPECT_TRUE(device.supportBright);
    EXPECT_FALSE(device.supportContrast);
}

TEST(UvcDescriptors, TakesTheFirstUnitIfNoneIsFedByTheTerminal) {
    const auto device =
        probe(configuration({videoControl(), cameraTerminal(4, {0, 0, 0}), processingUnit(8, 77, {0x02, 0}),
                             processingUnit(9, 78, {0x01, 0})}));
    EXPECT_EQ(device.unitID, 8);
}

TEST(UvcDescriptors, EndsOnUnitsWiredInACircle) {
    const auto device = probe(
        configuration({videoControl(), cameraTerminal(4, {0, 0, 0}), extensionUnit(2, 3), extensionUnit(3, 2),
                       processingUnit(5, 2, {0, 0}), processingUnit(6, 6, {0, 0})}));
    EXPECT_EQ(device.unitID, 5);
}

TEST(UvcDescriptors, ReadsOnlyTheFirstVideoFunctionUnlessTold) {
    const Bytes two =
        configuration({videoControl(0), cameraTerminal(3, {0x01, 0, 0}), processingUnit(5, 3, {0, 0}),
                       interfaceDescriptor(1, 2), videoControl(2), cameraTerminal(8, {0x02, 0, 0}),
                       processingUnit(9, 8, {0, 0}), interfaceDescriptor(3, 2)});
    EXPECT_EQ(probe(two).terminalID, 3);
    const auto second = probeDescriptors(deviceDescriptor(), two, 2);
    EXPECT_EQ(second.terminalID, 8);
    EXPECT_EQ(second.unitID, 9);
    EXPECT_TRUE(second.supportAutoExposureMode);
    EXPECT_FALSE(second.supportScanningMode);
    EXPECT_EQ(probeDescriptors(deviceDescriptor(), two, 7).terminalID, -1);
}

TEST(UvcDescriptors, IgnoresClassDescriptorsOutsideTheControlInterface) {
    // A streaming format descriptor and an audio function use the same subtype numbers.
    const auto device = probe(
        configuration({interfaceDescriptor(0, 1, 0x01), cameraTerminal(3, {0xFF, 0, 0}), videoControl(1),
                       header(0x0110), interfaceDescriptor(2, 2), processingUnit(5, 3, {0xFF, 0})}));
    auto expected = bare(-1, -1);
    expected.controlInterface = 1;
    EXPECT_EQ(device, expected);
}

TEST(UvcDescriptors, GivesNoIdentifiersForNothing) {
    EXPECT_EQ(probeDescriptors({}, {}), BusProberDevice());
    EXPECT_THAT(videoControlInterfaces({}), IsEmpty());
    EXPECT_THAT(interfacesOf({}), IsEmpty());
    EXPECT_THAT(configurationWithValue({}, 1), IsEmpty());
}

TEST(UvcDescriptors, AControlSizeLargerThanTheDescriptorMakesTheEntityUnreadable) {
    Bytes terminal = cameraTerminal(3, {0xFF, 0xFF, 0xFF});
    terminal[14] = 4;
    Bytes unit = processingUnit(5, 3, {0xFF, 0xFF}, {0});
    unit[7] = 200;
    EXPECT_EQ(probe(configuration({videoControl(), terminal, unit})), bare(-1, -1));
}

TEST(UvcDescriptors, AnUnreadableEntityGivesWayToAReadableOne) {
    Bytes broken = cameraTerminal(3, {0xFF, 0xFF, 0xFF});
    broken[14] = 99;
    const auto device = probe(configuration(
        {videoControl(), broken, cameraTerminal(4, {0x01, 0, 0}), processingUnit(5, 4, {0, 0})}));
    EXPECT_EQ(device.terminalID, 4);
}

TEST(UvcDescriptors, IdentifierZeroBelongsToNoEntity) {
    EXPECT_EQ(probe(configuration(
                  {videoControl(), cameraTerminal(0, {0xFF, 0, 0}), processingUnit(0, 0, {0xFF, 0})})),
              bare(-1, -1));
}

TEST(UvcDescriptors, StopsAtADescriptorOfLengthZero) {
    const auto device = probe(configuration({videoControl(),
                                             cameraTerminal(3, {0x01, 0, 0}),
                                             {0x00, 0x24, 0x05},
                                             processingUnit(5, 3, {0xFF, 0})}));
    auto expected = bare(3, -1);
    expected.supportScanningMode = true;
    EXPECT_EQ(device, expected);
}

TEST(UvcDescriptors, StopsAtADescriptorThatRunsOverTheEnd) {
    Bytes bytes =
        configuration({videoControl(), cameraTerminal(3, {0, 0, 0}), processingUnit(5, 3, {0xFF, 0})});
    bytes.pop_back();
    EXPECT_EQ(probe(bytes), bare(3, -1));
}

TEST(UvcDescriptors, IgnoresTheLengthsThatHeadersAnnounce) {
    Bytes bytes = configuration(
        {videoControl(), header(0x0110, 1), cameraTerminal(3, {0, 0, 0}), processingUnit(5, 3, {0, 0})});
    bytes[2] = 0xFF;
    bytes[3] = 0xFF;
    EXPECT_EQ(probe(bytes), bare(3, 5));
    bytes[2] = 9;
    bytes[3] = 0;
    EXPECT_EQ(probe(bytes), bare(3, 5));
}

TEST(UvcDescriptors, SurvivesEveryTruncation) {
    const Bytes whole = ordinaryCamera();
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        // A separate copy, so that the sanitizer detects a read past the end.
        const Bytes part(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        const auto device = probe(part);
        EXPECT_TRUE(device.terminalID == -1 || device.terminalID == 3) << length;
        EXPECT_TRUE(device.unitID == -1 || device.unitID == 5) << length;
    }
}

TEST(UvcDescriptors, ListsInterfacesWithTheirSettings) {
    const Bytes bytes = configuration({videoControl(0), interfaceDescriptor(1, 2),
                                       interfaceDescriptor(1, 2, 0x0E, 1), interfaceDescriptor(2, 1, 0x01)});
    EXPECT_THAT(
        interfacesOf(bytes),
        ElementsAre(UsbInterfaceDescriptor{0, 0, 0x0E, 1, 0}, UsbInterfaceDescriptor{1, 0, 0x0E, 2, 0},
                    UsbInterfaceDescriptor{1, 1, 0x0E, 2, 0}, UsbInterfaceDescriptor{2, 0, 0x01, 1, 0}));
}

TEST(CountedBytes, EndWithTheirDescriptor) {
    const Bytes bytes{1, 2, 3, 4, 5, 6};
    const std::span all(bytes);
    EXPECT_THAT(countedBytes(all, 1), ElementsAre(3, 4));
    EXPECT_THAT(countedBytes(all.first(3), 1), ElementsAre(3)) << "the descriptor counts one too many";
    EXPECT_THAT(countedBytes(all.first(2), 1), IsEmpty());
    EXPECT_THAT(countedBytes(all.first(1), 1), IsEmpty()) << "the count itself is missing";
}

TEST(UvcDescriptors, ListsEachControlInterfaceOnce) {
    const Bytes bytes = configuration({videoControl(2), interfaceDescriptor(3, 2), videoControl(0),
                                       interfaceDescriptor(0, 1, 0x0E, 1), interfaceDescriptor(1, 1, 0x01),
                                       interfaceDescriptor(4, 1, 0x0E, 0, 1)});
    EXPECT_THAT(videoControlInterfaces(bytes), ElementsAre(2, 0, 4));
}

TEST(UvcDescriptors, FindsOneConfigurationAmongSeveral) {
    const Bytes first = configuration({videoControl(0)}, 1);
    const Bytes second = configuration({videoControl(4)}, 2);
    const Bytes both = join({first, second});
    EXPECT_THAT(videoControlInterfaces(configurationWithValue(both, 1)), ElementsAre(0));
    EXPECT_THAT(videoControlInterfaces(configurationWithValue(both, 2)), ElementsAre(4));
    EXPECT_THAT(configurationWithValue(both, 3), IsEmpty());
}

} // namespace
} // namespace tavelo::test
