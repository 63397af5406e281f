// SPDX-License-Identifier: MIT
#include <array>
#include <set>
#include <string>

#include <gmock/gmock.h>

#include "firmware_client.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using enum UsbReplyKind;

class EachControl : public ::testing::TestWithParam<FirmwareControl> {
protected:
    EachControl() { turnAutomaticsOff(); }

    void turnAutomaticsOff() {
        firmware.setControlValue(control::autoExposureMode, 1);
        firmware.setControlValue(control::autoFocus, 0);
        firmware.setControlValue(control::autoHue, 0);
        firmware.setControlValue(control::autoWhiteBalance, 0);
    }

    static std::int64_t bound(std::int32_t value) {
        return GetParam().kind == ControlKind::panTilt ? packPanTilt(value, value) : value;
    }
    static bool ranged() {
        return GetParam().kind == ControlKind::range || GetParam().kind == ControlKind::panTilt;
    }

    const ControlAddress address = GetParam().address;
    VirtualCameraFirmware firmware{virtualCameraModel(1)};
    FirmwareClient client{firmware};
};

TEST_P(EachControl, canBeReadAndWritten) {
    const UsbReply info = client.get(UvcRequest::getInfo, address);
    ASSERT_EQ(info.kind, done);
    ASSERT_EQ(info.data.size(), 1U);
    EXPECT_EQ(info.data[0] & 3, 3);
}

TEST_P(EachControl, answersInItsOwnSizeHoweverMuchIsAsked) {
    EXPECT_EQ(client.get(UvcRequest::getCur, address, 64).data.size(), GetParam().size);
    EXPECT_THAT(client.get(UvcRequest::getLen, address).data, ElementsAre(GetParam().size, 0));
}

TEST_P(EachControl, deliversNoMoreThanIsAsked) {
    EXPECT_EQ(client.get(UvcRequest::getCur, address, 1).data.size(), 1U);
}

TEST_P(EachControl, tellsItsRange) {
    if (!ranged()) {
        EXPECT_EQ(client.get(UvcRequest::getMin, address).kind, stall);
        EXPECT_EQ(client.errorCode(), uvc::errorInvalidRequest);
        EXPECT_EQ(client.get(UvcRequest::getMax, address).kind, stall);
        return;
    }
    EXPECT_EQ(client.number(UvcRequest::getMin, address), bound(GetParam().minimum));
    EXPECT_EQ(client.number(UvcRequest::getMax, address), bound(GetParam().maximum));
    EXPECT_EQ(client.number(UvcRequest::getRes, address), bound(GetParam().resolution));
}

TEST_P(EachControl, startsAtItsDefault) {
    if (GetParam().kind == ControlKind::relative) {
        EXPECT_EQ(client.get(UvcRequest::getDef, address).kind, stall);
        return;
    }
    VirtualCameraFirmware fresh{virtualCameraModel(1)};
    FirmwareClient host{fresh};
    EXPECT_EQ(host.number(UvcRequest::getCur, address), bound(GetParam().defaultValue));
    EXPECT_EQ(host.number(UvcRequest::getDef, address), bound(GetParam().defaultValue));
}

TEST_P(EachControl, takesBothEndsOfItsRange) {
    if (!ranged() && GetParam().kind != ControlKind::toggle) return;
    for (const std::int64_t value : {bound(GetParam().maximum), bound(GetParam().minimum)}) {
        EXPECT_EQ(client.set(address, value).kind, done);
        EXPECT_EQ(client.number(UvcRequest::getCur, address), value);
        EXPECT_EQ(firmware.controlValue(address), value);
    }
}

TEST_P(EachControl, refusesWhatLiesOutsideItsRange) {
    if (!ranged() && GetParam().kind != ControlKind::toggle) return;
    const std::int64_t before = *firmware.controlValue(address);
    EXPECT_EQ(client.set(address, bound(GetParam().maximum + 1)).kind, stall);
    EXPECT_EQ(client.errorCode(), uvc::errorOutOfRange);
    if (GetParam().minimum != 0) {
        EXPECT_EQ(client.set(address, bound(GetParam().minimum - 1)).kind, stall);
    }
    EXPECT_EQ(firmware.controlValue(address), before);
}

TEST_P(EachControl, takesTheLowBytesOfALongerWrite) {
    if (GetParam().kind == ControlKind::modes) return;
    const std::int64_t value = bound(GetParam().maximum);
    EXPECT_EQ(client.set(address, value, GetParam().size + 2).kind, done);
    EXPECT_EQ(firmware.controlValue(address), value);
}

TEST_P(EachControl, refusesAShorterWrite) {
    std::vector<std::uint8_t> bytes(GetParam().size - 1U, 0);
    EXPECT_EQ(client.set(address, bytes).kind, stall);
}

TEST_P(EachControl, isListedInTheMapOfItsEntity) {
    const VirtualCameraModel& model = firmware.model();
    const bool terminal = address.entity == UvcEntity::cameraTerminal;
    EXPECT_TRUE((terminal ? model.terminalControls : model.unitControls) & controlBit(address));
    EXPECT_TRUE(firmware.listsControl(terminal ? model.terminalID : model.unitID, address.selector));
}

TEST_P(EachControl, isMissingIfTheModelDoesNotListIt) {
    VirtualCameraModel model = virtualCameraModel(1);
    const std::uint32_t bit = ~controlBit(address);
    if (address.entity == UvcEntity::cameraTerminal)
        model.terminalControls &= bit;
    else
        model.unitControls &= bit;
    VirtualCameraFirmware poorer{model};
    FirmwareClient host{poorer};
    EXPECT_EQ(host.get(UvcRequest::getCur, address).kind, stall);
    EXPECT_EQ(host.errorCode(), uvc::errorInvalidControl);
    EXPECT_EQ(host.set(address, bound(GetParam().defaultValue)).kind, stall);
    EXPECT_EQ(poorer.controlValue(address), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Firmware, EachControl,
                         ::testing::ValuesIn(firmwareControls().begin(), firmwareControls().end()),
                         [](const auto& row) { return std::string(row.param.name); });

struct Gate {
    std::string name;
    ControlAddress automatic;
    std::int64_t on;
    std::int64_t off;
    ControlAddress manual;
};

class EachGate : public ::testing::TestWithParam<Gate> {
protected:
    VirtualCameraFirmware firmware{virtualCameraModel(1)};
    FirmwareClient client{firmware};
};

TEST_P(EachGate, refusesTheManualControlWhileTheAutomaticIsOn) {
    const auto& [name, automatic, on, off, manual] = GetParam();
    const std::int64_t value = firmwareControl(manual)->maximum;
    ASSERT_EQ(client.set(automatic, on).kind, done);
    const std::int64_t before = *firmware.controlValue(manual);
    EXPECT_EQ(client.set(manual, value).kind, stall);
    EXPECT_EQ(client.errorCode(), uvc::errorWrongState);
    EXPECT_EQ(firmware.controlValue(manual), before);
    EXPECT_TRUE(client.number(UvcRequest::getInfo, manual) & uvc::infoDisabledByAutomatic);
    EXPECT_EQ(client.get(UvcRequest::getCur, manual).kind, done);

    ASSERT_EQ(client.set(automatic, off).kind, done);
    EXPECT_FALSE(client.number(UvcRequest::getInfo, manual) & uvc::infoDisabledByAutomatic);
    EXPECT_EQ(client.set(manual, value).kind, done);
    EXPECT_EQ(client.errorCode(), uvc::errorNone);
}

TEST_P(EachGate, acceptsAKnobTurnedWhileTheAutomaticIsOn) {
    ASSERT_EQ(client.set(GetParam().automatic, GetParam().on).kind, done);
    const std::int64_t value = firmwareControl(GetParam().manual)->maximum;
    EXPECT_TRUE(firmware.setControlValue(GetParam().manual, value));
    EXPECT_EQ(client.number(UvcRequest::getCur, GetParam().manual), value);
}

INSTANTIATE_TEST_SUITE_P(
    Firmware, EachGate,
    ::testing::Values(Gate{"focus", control::autoFocus, 1, 0, control::focus},
                      Gate{"hue", control::autoHue, 1, 0, control::hue},
                      Gate{"whiteBalance", control::autoWhiteBalance, 1, 0, control::whiteBalance},
                      Gate{"exposureInAutomatic", control::autoExposureMode, 2, 1, control::exposureTime},
                      Gate{"exposureInAperturePriority", control::autoExposureMode, 8, 4,
                           control::exposureTime},
                      Gate{"irisInAutomatic", control::autoExposureMode, 2, 1, control::iris},
                      Gate{"irisInShutterPriority", control::autoExposureMode, 4, 8, control::iris}),
    [](const auto& row) { return row.param.name; });

class FirmwareTest : public ::testing::Test {
protected:
    VirtualCameraFirmware firmware{virtualCameraModel(1)};
    FirmwareClient client{firmware};
};

TEST_F(FirmwareTest, hasTwentyThreeControlsWithNamesAndAddressesOfTheirOwn) {
    std::set<std::string> names;
    std::set<std::pair<UvcEntity, int>> addresses;
    for (const FirmwareControl& row : firmwareControls()) {
        names.emplace(row.name);
        addresses.emplace(row.address.entity, row.address.selector);
        EXPECT_EQ(firmwareControlNamed(row.name), &row);
    }
    EXPECT_EQ(names.size(), 23U);
    EXPECT_EQ(addresses.size(), 23U);
    EXPECT_EQ(firmwareControlNamed("nothing"), nullptr);
    EXPECT_EQ(firmwareControl({UvcEntity::processingUnit, 40}), nullptr);
}

TEST_F(FirmwareTest, powerLineAndHueAutoAreOneByteAndWhiteBalanceTwoWhateverIsAsked) {
    EXPECT_EQ(client.get(UvcRequest::getCur, control::powerLine, 2).data.size(), 1U);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::autoHue, 2).data.size(), 1U);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::whiteBalance, 4).data.size(), 2U);
    EXPECT_EQ(client.set(control::whiteBalance, 5000, 4).kind, done);
    EXPECT_EQ(firmware.controlValue(control::whiteBalance), 5000);
}

TEST_F(FirmwareTest, exposureModeIsOneOfTheBitsThatItsResolutionTells) {
    EXPECT_EQ(client.number(UvcRequest::getRes, control::autoExposureMode), 0x0F);
    for (const int mode : {1, 2, 4, 8})
        EXPECT_EQ(client.set(control::autoExposureMode, mode).kind, done) << mode;
    for (const int mode : {0, 3, 16, 15})
        EXPECT_EQ(client.set(control::autoExposureMode, mode).kind, stall) << mode;
    EXPECT_EQ(client.errorCode(), uvc::errorOutOfRange);
    EXPECT_EQ(firmware.controlValue(control::autoExposureMode), 8);
}

TEST_F(FirmwareTest, aCameraWithFewerExposureModesRefusesTheOthers) {
    VirtualCameraFirmware second{virtualCameraModel(2)};
    FirmwareClient host{second};
    EXPECT_EQ(host.number(UvcRequest::getRes, control::autoExposureMode), 0x09);
    EXPECT_EQ(host.set(control::autoExposureMode, 2).kind, stall);
    EXPECT_EQ(host.set(control::autoExposureMode, 1).kind, done);
}

TEST_F(FirmwareTest, factorySettingsOfTheModelAreItsDefaults) {
    VirtualCameraFirmware second{virtualCameraModel(2)};
    FirmwareClient host{second};
    EXPECT_EQ(host.number(UvcRequest::getDef, control::powerLine), 2);
    EXPECT_EQ(host.number(UvcRequest::getCur, control::powerLine), 2);
}

TEST_F(FirmwareTest, relativeExposureTakesAnyStepInAnyModeAndMovesNothingByAHundred) {
    for (const int mode : {8, 1}) {
        ASSERT_EQ(client.set(control::autoExposureMode, mode).kind, done);
        const auto before = firmware.controlValue(control::exposureTime);
        EXPECT_EQ(client.set(control::exposureTimeRelative, 100, 2).kind, done);
        EXPECT_EQ(firmware.controlValue(control::exposureTime), before);
    }
}

TEST_F(FirmwareTest, relativeExposureStepsTheManualExposureAndZeroResetsIt) {
    ASSERT_EQ(client.set(control::autoExposureMode, 1).kind, done);
    const std::int64_t start = *firmware.controlValue(control::exposureTime);
    client.set(control::exposureTimeRelative, 1);
    EXPECT_EQ(firmware.controlValue(control::exposureTime), start + 1);
    client.set(control::exposureTimeRelative, 0xFF);
    client.set(control::exposureTimeRelative, 0xFF);
    EXPECT_EQ(firmware.controlValue(control::exposureTime), start - 1);
    client.set(control::exposureTimeRelative, 0);
    EXPECT_EQ(firmware.controlValue(control::exposureTime), start);
}

TEST_F(FirmwareTest, aStepInAnAutomaticModeChangesNothing) {
    const auto before = firmware.controlValue(control::exposureTime);
    EXPECT_EQ(client.set(control::exposureTimeRelative, 1).kind, done);
    EXPECT_EQ(firmware.controlValue(control::exposureTime), before);
}

TEST_F(FirmwareTest, panAndTiltAreTwoSignedHalvesOfOneControl) {
    const std::array<std::uint8_t, 8> bytes{0xF0, 0xF1, 0xFF, 0xFF, 0x20, 0x1C, 0x00, 0x00};
    EXPECT_EQ(client.set(control::panTilt, bytes).kind, done);
    const std::int64_t value = *firmware.controlValue(control::panTilt);
    EXPECT_EQ(panOf(value), -3600);
    EXPECT_EQ(tiltOf(value), 7200);
    EXPECT_EQ(client.set(control::panTilt, packPanTilt(0, 36001)).kind, stall);
    EXPECT_EQ(client.set(control::panTilt, packPanTilt(-36001, 0)).kind, stall);
    EXPECT_EQ(firmware.controlValue(control::panTilt), value);
}

TEST_F(FirmwareTest, tellsWhyARequestWasStalled) {
    const auto ask = [&](std::uint8_t entity, std::uint8_t selector, UvcRequest request) {
        const UsbReply reply = firmware.control(
            {uvc::classInterfaceIn, codeOf(request), static_cast<std::uint16_t>(selector << 8),
             static_cast<std::uint16_t>(entity << 8), 2},
            {});
        EXPECT_EQ(reply.kind, stall);
        return client.errorCode();
    };
    EXPECT_EQ(client.errorCode(), uvc::errorNone);
    EXPECT_EQ(ask(200, 2, UvcRequest::getCur), uvc::errorInvalidUnit);
    EXPECT_EQ(ask(firmware.model().unitID, 30, UvcRequest::getCur), uvc::errorInvalidControl);
    EXPECT_EQ(ask(firmware.model().outputTerminalID, 1, UvcRequest::getCur), uvc::errorInvalidControl);
    EXPECT_EQ(ask(firmware.model().unitID, 2, UvcRequest{0x90}), uvc::errorInvalidRequest);
    EXPECT_EQ(client.errorCode(), uvc::errorInvalidRequest) << "reading the code does not reset it";
    client.get(UvcRequest::getCur, control::brightness);
    EXPECT_EQ(client.errorCode(), uvc::errorNone);
}

TEST_F(FirmwareTest, refusesClassRequestsToInterfacesAndRecipientsThatItDoesNotHave) {
    EXPECT_EQ(
        firmware.control({uvc::classInterfaceIn, codeOf(UvcRequest::getCur), 0x0200, 0x0107, 2}, {}).kind,
        stall);
    EXPECT_EQ(firmware.control({0xA2, codeOf(UvcRequest::getCur), 0x0200, 0x0100, 2}, {}).kind, stall);
    EXPECT_EQ(firmware.control({0xC0, 1, 0, 0, 2}, {}).kind, stall) << "vendor request";
    EXPECT_EQ(firmware
                  .control({uvc::classInterfaceOut, codeOf(UvcRequest::setCur), 0x0200, 0, 1},
                           std::array<std::uint8_t, 1>{0})
                  .kind,
              stall)
        << "the error code cannot be written";
}

TEST_F(FirmwareTest, aKnobTurnedOutsideItsRangeStays) {
    EXPECT_FALSE(firmware.setControlValue(control::brightness, 65));
    EXPECT_FALSE(firmware.setControlValue({UvcEntity::processingUnit, 60}, 1));
    EXPECT_EQ(firmware.controlValue(control::brightness), 0);
    EXPECT_TRUE(firmware.setControlValue(control::brightness, -64));
    EXPECT_EQ(client.number(UvcRequest::getCur, control::brightness), -64);
}

} // namespace
} // namespace tavelo
