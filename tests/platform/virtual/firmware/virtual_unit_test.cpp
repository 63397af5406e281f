// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/virtual_unit.h"

#include <gmock/gmock.h>

#include "firmware_client.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/extension_units.h"
#include "platform/uvc/guid.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Bytes = std::vector<std::uint8_t>;

std::uint8_t errorOf(VirtualUnit& unit, std::uint8_t selector, const Bytes& bytes) {
    const ControlResult result = unit.write(selector, bytes);
    EXPECT_EQ(result.kind, result.errorCode == 0 ? UsbReplyKind::done : UsbReplyKind::stall);
    return result.errorCode;
}

Bytes valueOf(const VirtualUnit& unit, std::uint8_t selector) {
    return unit.read(selector, UvcRequest::getCur).data;
}

TEST(VirtualUnit, AnswersEveryReadOfEveryControl) {
    const VirtualUnit unit;
    EXPECT_THAT(unit.read(1, UvcRequest::getLen).data, ElementsAre(2, 0));
    EXPECT_THAT(unit.read(1, UvcRequest::getInfo).data, ElementsAre(3));
    EXPECT_THAT(unit.read(1, UvcRequest::getMin).data, ElementsAre(0, 1));
    EXPECT_THAT(unit.read(1, UvcRequest::getMax).data, ElementsAre(2, 200));
    EXPECT_THAT(unit.read(1, UvcRequest::getRes).data, ElementsAre(1, 1));
    EXPECT_THAT(unit.read(1, UvcRequest::getDef).data, ElementsAre(0, 10));
    EXPECT_THAT(valueOf(unit, 1), ElementsAre(0, 10));
    EXPECT_THAT(unit.read(2, UvcRequest::getMax).data, ElementsAre(2));
    EXPECT_THAT(unit.read(3, UvcRequest::getMin).data, ElementsAre(0b10'1100)) << "-10 from bit 1 on";
    EXPECT_THAT(unit.read(3, UvcRequest::getMax).data, ElementsAre(0b01'0101)) << "10, and on";
    EXPECT_THAT(unit.read(3, UvcRequest::getLen).data, ElementsAre(1, 0));
}

TEST(VirtualUnit, TakesWhatIsInTheRangeAsAWholeOnly) {
    VirtualUnit unit;
    EXPECT_EQ(errorOf(unit, 1, {2, 200}), 0);
    EXPECT_THAT(valueOf(unit, 1), ElementsAre(2, 200));
    EXPECT_EQ(errorOf(unit, 1, {3, 10}), uvc::errorOutOfRange);
    EXPECT_EQ(errorOf(unit, 1, {0, 0}), uvc::errorOutOfRange);
    EXPECT_EQ(errorOf(unit, 1, {0, 201}), uvc::errorOutOfRange);
    EXPECT_EQ(errorOf(unit, 1, {1}), uvc::errorUnknown) << "too short";
    EXPECT_EQ(errorOf(unit, 1, {}), uvc::errorUnknown);
    EXPECT_THAT(valueOf(unit, 1), ElementsAre(2, 200));
    EXPECT_EQ(errorOf(unit, 1, {1, 20, 99}), 0) << "the low bytes are used";
    EXPECT_THAT(valueOf(unit, 1), ElementsAre(1, 20));
    EXPECT_EQ(errorOf(unit, 2, {2}), 0);
    EXPECT_EQ(errorOf(unit, 2, {3}), uvc::errorOutOfRange);
}

TEST(VirtualUnit, WarmthIsSignedAndTheBitsOfNobodyAreKept) {
    VirtualUnit unit;
    EXPECT_EQ(errorOf(unit, 3, {0b1110'1101}), 0) << "-10, on";
    EXPECT_THAT(valueOf(unit, 3), ElementsAre(0b1110'1101));
    EXPECT_EQ(errorOf(unit, 3, {0b01'0110}), uvc::errorOutOfRange) << "11";
    EXPECT_EQ(errorOf(unit, 3, {0b10'1010}), uvc::errorOutOfRange) << "-11";
    EXPECT_EQ(errorOf(unit, 3, {0b01'0100}), 0) << "10";
}

TEST(VirtualUnit, HasNoOtherControl) {
    VirtualUnit unit;
    for (const std::uint8_t selector : Bytes{0, 4, 255}) {
        EXPECT_FALSE(VirtualUnit::lists(selector));
        EXPECT_EQ(unit.read(selector, UvcRequest::getCur).errorCode, uvc::errorInvalidControl);
        EXPECT_EQ(errorOf(unit, selector, {0, 0}), uvc::errorInvalidControl);
    }
    EXPECT_EQ(unit.read(1, UvcRequest::setCur).errorCode, uvc::errorInvalidRequest);
}

class UnitOfACamera : public ::testing::Test {
protected:
    UsbReply ask(std::uint8_t entity, UvcRequest request, std::uint8_t selector, const Bytes& out = {}) {
        const bool isWrite = request == UvcRequest::setCur;
        const auto length = static_cast<std::uint16_t>(isWrite ? out.size() : 2);
        return firmware.control(
            {isWrite ? uvc::classInterfaceOut : uvc::classInterfaceIn, codeOf(request),
             static_cast<std::uint16_t>(selector << 8), static_cast<std::uint16_t>(entity << 8), length},
            out);
    }

    VirtualCameraFirmware firmware{virtualCameraModel(1)};
    const std::uint8_t unit = firmware.model().extensionUnitID;
};

TEST_F(UnitOfACamera, IsInItsDescriptorsBesideThePath) {
    const auto device = probeDescriptors(firmware.deviceDescriptor(), firmware.configurationDescriptor());
    ASSERT_THAT(device.extensionUnits, SizeIs(1));
    EXPECT_EQ(device.extensionUnits[0].id, unit);
    EXPECT_EQ(guidText(device.extensionUnits[0].guid), "7a1d4c3e-52b8-4f06-9d2a-c0e5b91f6a48");
    EXPECT_EQ(device.extensionUnits[0].selectors, std::bitset<256>(0b1110));
    EXPECT_EQ(device.unitID, firmware.model().unitID);
}

TEST_F(UnitOfACamera, AnswersOnItsIdentifier) {
    EXPECT_THAT(ask(unit, UvcRequest::getCur, 1).data, ElementsAre(0, 10));
    EXPECT_EQ(ask(unit, UvcRequest::setCur, 1, {2, 7}).kind, UsbReplyKind::done);
    EXPECT_THAT(ask(unit, UvcRequest::getCur, 1).data, ElementsAre(2, 7));
    EXPECT_EQ(ask(unit, UvcRequest::setCur, 1, {9, 7}).kind, UsbReplyKind::stall);
    EXPECT_TRUE(firmware.listsControl(unit, 3));
    EXPECT_FALSE(firmware.listsControl(unit, 4));
    EXPECT_EQ(ask(static_cast<std::uint8_t>(unit + 1), UvcRequest::getCur, 1).kind, UsbReplyKind::stall);
}

TEST(CameraWithoutAUnit, NeitherListsNorAnswersIt) {
    VirtualCameraModel model = virtualCameraModel(1);
    const std::uint8_t unit = std::exchange(model.extensionUnitID, std::uint8_t{0});
    const VirtualCameraFirmware firmware(model);
    EXPECT_THAT(
        probeDescriptors(firmware.deviceDescriptor(), firmware.configurationDescriptor()).extensionUnits,
        IsEmpty());
    EXPECT_FALSE(firmware.listsControl(unit, 1));
    EXPECT_FALSE(firmware.listsControl(0, 1));
}

} // namespace
} // namespace tavelo
