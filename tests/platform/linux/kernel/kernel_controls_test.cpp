// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_controls.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

#include "fake_control_node.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto terminal = UvcEntity::cameraTerminal;
constexpr auto unit = UvcEntity::processingUnit;
using Bytes = std::vector<std::uint8_t>;

class KernelControls : public testing::Test {
protected:
    KernelControls() { device.controls = everyControl(); }

    static const KernelControl& row(UvcEntity entity, std::uint8_t selector) {
        const KernelControl* found = findKernelControl({entity, selector});
        EXPECT_NE(found, nullptr) << int(selector);
        return *found;
    }

    KernelReply read(UvcEntity entity, std::uint8_t selector, UvcRequest request) {
        return readKernelControl(device, row(entity, selector), request);
    }
    KernelReply write(UvcEntity entity, std::uint8_t selector, const Bytes& data, const Bytes& held = {}) {
        return writeKernelControl(device, row(entity, selector), data, held);
    }
    Bytes bytes(UvcEntity entity, std::uint8_t selector, UvcRequest request) {
        const KernelReply reply = read(entity, selector, request);
        EXPECT_EQ(reply.error, 0);
        return reply.bytes;
    }

    FakeControlNode device;
};

struct Sizes {
    UvcEntity entity;
    std::uint8_t selector;
    std::size_t size;
};

// The lengths defined by the USB Video Class.
constexpr std::array sizes{
    Sizes{terminal, 2, 1}, Sizes{terminal, 3, 1}, Sizes{terminal, 4, 4},  Sizes{terminal, 6, 2},
    Sizes{terminal, 8, 1}, Sizes{terminal, 9, 2}, Sizes{terminal, 11, 2}, Sizes{terminal, 13, 8},
    Sizes{unit, 1, 2},     Sizes{unit, 2, 2},     Sizes{unit, 3, 2},      Sizes{unit, 4, 2},
    Sizes{unit, 5, 1},     Sizes{unit, 6, 2},     Sizes{unit, 7, 2},      Sizes{unit, 8, 2},
    Sizes{unit, 9, 2},     Sizes{unit, 10, 2},    Sizes{unit, 11, 1},     Sizes{unit, 16, 1}};

TEST_F(KernelControls, TheTableHoldsEachMappedControlOnce) {
    EXPECT_EQ(kernelControls().size(), sizes.size());
    std::set<std::uint32_t> ids;
    for (const KernelControl& control : kernelControls()) {
        EXPECT_TRUE(ids.insert(control.id).second) << control.name;
        EXPECT_EQ(findKernelControl(control.address), &control) << control.name;
        EXPECT_EQ(control.secondId != 0, control.encoding == KernelEncoding::pair) << control.name;
    }
}

TEST_F(KernelControls, ScanningModeRollAndRelativeExposureMapToNothing) {
    for (const int selector : {0, 1, 5, 7, 10, 12, 14, 15, 16, 255})
        EXPECT_EQ(findKernelControl({terminal, static_cast<std::uint8_t>(selector)}), nullptr) << selector;
    for (const int selector : {0, 12, 13, 14, 15, 17, 18, 19, 255})
        EXPECT_EQ(findKernelControl({unit, static_cast<std::uint8_t>(selector)}), nullptr) << selector;
}

TEST_F(KernelControls, EveryControlHasTheCamerasOwnLength) {
    for (const auto& [entity, selector, size] : sizes) {
        EXPECT_EQ(bytes(entity, selector, UvcRequest::getCur).size(), size) << int(selector);
        EXPECT_THAT(bytes(entity, selector, UvcRequest::getLen), ElementsAre(size, 0)) << int(selector);
        EXPECT_THAT(bytes(entity, selector, UvcRequest::getInfo), ElementsAre(0x03)) << int(selector);
    }
}

TEST_F(KernelControls, RangesComeInTheControlsLengthLeastSignificantByteFirst) {
    EXPECT_THAT(bytes(unit, 2, UvcRequest::getMin), ElementsAre(0xC0, 0xFF));
    EXPECT_THAT(bytes(unit, 2, UvcRequest::getMax), ElementsAre(0x40, 0x00));
    EXPECT_THAT(bytes(unit, 2, UvcRequest::getDef), ElementsAre(0xFD, 0xFF));
    EXPECT_THAT(bytes(unit, 6, UvcRequest::getRes), ElementsAre(0x02, 0x00));
    EXPECT_THAT(bytes(unit, 8, UvcRequest::getMax), ElementsAre(0x60, 0xEA));
    EXPECT_THAT(bytes(unit, 10, UvcRequest::getMin), ElementsAre(0xF0, 0x0A));
    EXPECT_THAT(bytes(terminal, 4, UvcRequest::getMax), ElementsAre(0x18, 0x3C, 0x1F, 0x00));
    EXPECT_THAT(bytes(unit, 5, UvcRequest::getMax), ElementsAre(0x02));
}

TEST_F(KernelControls, PanAndTiltAreOneValueOfEightBytes) {
    EXPECT_THAT(bytes(terminal, 13, UvcRequest::getCur),
                ElementsAre(0xE0, 0xE3, 0xFF, 0xFF, 0x10, 0x0E, 0, 0));
    EXPECT_THAT(bytes(terminal, 13, UvcRequest::getMin),
                ElementsAre(0x60, 0x73, 0xFF, 0xFF, 0xB0, 0xB9, 0xFF, 0xFF));
    EXPECT_THAT(bytes(terminal, 13, UvcRequest::getRes), ElementsAre(0x10, 0x0E, 0, 0, 0x10, 0x0E, 0, 0));
}

TEST_F(KernelControls, BothHalvesOfPanAndTiltAreWrittenInOneCall) {
    const auto reply = write(terminal, 13, {0xF0, 0xF1, 0xFF, 0xFF, 0x20, 0x1C, 0, 0});
    EXPECT_EQ(reply.error, 0);
    EXPECT_TRUE(reply.written);
    EXPECT_THAT(device.writes(), ElementsAre(ElementsAre(V4l2ControlValue{V4L2_CID_PAN_ABSOLUTE, -3600},
                                                         V4l2ControlValue{V4L2_CID_TILT_ABSOLUTE, 7200})));
}

// Pan and tilt of -3600 and 7200.
const Bytes heldPair{0xF0, 0xF1, 0xFF, 0xFF, 0x20, 0x1C, 0, 0};

TEST_F(KernelControls, AHalfOfPanAndTiltThatDoesNotChangeIsNotWritten) {
    Bytes panned = heldPair;
    std::ranges::copy(Bytes{0x10, 0x0E, 0, 0}, panned.begin());
    Bytes tilted = heldPair;
    std::ranges::copy(Bytes{0x10, 0x0E, 0, 0}, tilted.begin() + 4);
    EXPECT_TRUE(write(terminal, 13, panned, heldPair).written);
    EXPECT_TRUE(write(terminal, 13, tilted, heldPair).written);
    EXPECT_THAT(device.writes(), ElementsAre(ElementsAre(V4l2ControlValue{V4L2_CID_PAN_ABSOLUTE, 3600}),
                                             ElementsAre(V4l2ControlValue{V4L2_CID_TILT_ABSOLUTE, 3600})));
}

TEST_F(KernelControls, PanAndTiltThatBothStayAreBothWritten) {
    EXPECT_TRUE(write(terminal, 13, heldPair, heldPair).written);
    ASSERT_EQ(device.writes().size(), 1U);
    EXPECT_EQ(device.writes().front().size(), 2U);
}

TEST_F(KernelControls, AHeldHalfMayLieOutsideTheRange) {
    Bytes held = heldPair;
    std::ranges::copy(Bytes{0, 0, 0, 0x7F}, held.begin() + 4);
    Bytes panned = held;
    std::ranges::copy(Bytes{0, 0, 0, 0}, panned.begin());
    EXPECT_TRUE(write(terminal, 13, panned, held).written);
    EXPECT_EQ(write(terminal, 13, panned, heldPair).error, ERANGE);
}

TEST_F(KernelControls, AWriteTellsTheValueThatTheDriverTook) {
    EXPECT_THAT(write(unit, 10, {0x79, 0x17}).bytes, ElementsAre(0x7A, 0x17)); // 6009 is 6010
    EXPECT_THAT(write(unit, 6, {0x4D, 0xFF}).bytes, ElementsAre(0x4E, 0xFF));  // -179 is -178
    EXPECT_THAT(write(terminal, 2, {8}).bytes, ElementsAre(8));
    EXPECT_THAT(write(terminal, 13, {0xD0, 0x1B, 0, 0, 0xF0, 0xF1, 0xFF, 0xFF}).bytes,
                ElementsAre(0x20, 0x1C, 0, 0, 0xF0, 0xF1, 0xFF, 0xFF)); // 7120 is 7200
    Bytes panned = heldPair;
    std::ranges::copy(Bytes{0xD0, 0x1B, 0, 0}, panned.begin());
    EXPECT_THAT(write(terminal, 13, panned, heldPair).bytes, ElementsAre(0x20, 0x1C, 0, 0, 0x20, 0x1C, 0, 0));
}

TEST_F(KernelControls, ARefusedWriteTellsNoValue) {
    device.controls[V4L2_CID_WHITE_BALANCE_TEMPERATURE].setError = EACCES;
    EXPECT_THAT(write(unit, 10, {0x79, 0x17}).bytes, IsEmpty());
    EXPECT_THAT(write(unit, 2, {0x41, 0x00}).bytes, IsEmpty());
}

TEST_F(KernelControls, PanAndTiltNeedBothOfTheDriversControls) {
    device.controls.erase(V4L2_CID_TILT_ABSOLUTE);
    EXPECT_THAT(read(terminal, 13, UvcRequest::getInfo).bytes, IsEmpty());
    EXPECT_THAT(read(terminal, 13, UvcRequest::getMin).bytes, IsEmpty());
    EXPECT_FALSE(write(terminal, 13, Bytes(8, 0)).written);
    EXPECT_THAT(device.writes(), IsEmpty());
}

TEST_F(KernelControls, ExposureModesAreTheCamerasBitsAndNotTheMenusNumbers) {
    constexpr std::array<std::pair<int, std::uint8_t>, 4> modes{{{0, 2}, {1, 1}, {2, 4}, {3, 8}}};
    for (const auto& [index, bit] : modes) {
        device.controls[V4L2_CID_EXPOSURE_AUTO].value = index;
        EXPECT_THAT(bytes(terminal, 2, UvcRequest::getCur), ElementsAre(bit));
        EXPECT_TRUE(write(terminal, 2, {bit}).written);
        EXPECT_EQ(device.writes().back(), (std::vector{V4l2ControlValue{V4L2_CID_EXPOSURE_AUTO, index}}));
    }
    EXPECT_THAT(bytes(terminal, 2, UvcRequest::getDef), ElementsAre(8));
}

TEST_F(KernelControls, TheMapOfExposureModesComesFromAMenuWithHoles) {
    EXPECT_THAT(bytes(terminal, 2, UvcRequest::getRes), ElementsAre(0x01 | 0x08));
    device.controls[V4L2_CID_EXPOSURE_AUTO].menu = {0, 1, 2, 3};
    EXPECT_THAT(bytes(terminal, 2, UvcRequest::getRes), ElementsAre(0x0F));
    device.controls[V4L2_CID_EXPOSURE_AUTO].menu = {};
    EXPECT_THAT(bytes(terminal, 2, UvcRequest::getRes), IsEmpty());
    device.controls[V4L2_CID_EXPOSURE_AUTO].menuError = ENODEV;
    EXPECT_EQ(read(terminal, 2, UvcRequest::getRes).error, ENODEV);
}

TEST_F(KernelControls, RefusesInvalidExposureModes) {
    for (const std::uint8_t mode : Bytes{0, 3, 16, 255})
        EXPECT_EQ(write(terminal, 2, {mode}).error, ERANGE) << int(mode);
    EXPECT_THAT(device.writes(), IsEmpty());
    device.controls[V4L2_CID_EXPOSURE_AUTO].value = 7;
    EXPECT_THAT(bytes(terminal, 2, UvcRequest::getCur), IsEmpty());
}

TEST_F(KernelControls, SwitchesAnswerOnlyTheRangeRequestsThatTheClassGivesThem) {
    for (const auto& [entity, selector] : {std::pair(terminal, 8), {unit, 11}, {unit, 16}}) {
        for (const auto request : {UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes})
            EXPECT_THAT(bytes(entity, std::uint8_t(selector), request), IsEmpty());
        EXPECT_THAT(bytes(entity, std::uint8_t(selector), UvcRequest::getDef), ElementsAre(1));
    }
    for (const auto request :
         {UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes, UvcRequest::getDef})
        EXPECT_THAT(bytes(terminal, 3, request), IsEmpty());
    for (const auto request : {UvcRequest::getMin, UvcRequest::getMax})
        EXPECT_THAT(bytes(terminal, 2, request), IsEmpty());
}

TEST_F(KernelControls, InfoComesFromTheDriversFlags) {
    const auto infoWith = [&](std::uint32_t flags) {
        device.controls[V4L2_CID_CONTRAST].info.flags = flags;
        return bytes(unit, 3, UvcRequest::getInfo);
    };
    EXPECT_THAT(infoWith(0), ElementsAre(0x03));
    EXPECT_THAT(infoWith(V4L2_CTRL_FLAG_READ_ONLY), ElementsAre(0x01));
    EXPECT_THAT(infoWith(V4L2_CTRL_FLAG_WRITE_ONLY), ElementsAre(0x02));
    EXPECT_THAT(infoWith(V4L2_CTRL_FLAG_INACTIVE), ElementsAre(0x07));
    EXPECT_THAT(infoWith(V4L2_CTRL_FLAG_VOLATILE), ElementsAre(0x0B));
    EXPECT_THAT(infoWith(V4L2_CTRL_FLAG_INACTIVE | V4L2_CTRL_FLAG_VOLATILE), ElementsAre(0x0F));
    EXPECT_THAT(infoWith(V4L2_CTRL_FLAG_DISABLED), IsEmpty());
}

TEST_F(KernelControls, WritesTakeTheFirstBytesOfLongerData) {
    EXPECT_TRUE(write(unit, 5, {2, 9}).written);
    EXPECT_TRUE(write(unit, 10, {0xA0, 0x0F, 0xFF, 0xFF}).written);
    EXPECT_TRUE(write(unit, 2, {0xFE, 0xFF, 0x55, 0x55}).written);
    EXPECT_THAT(device.writes(),
                ElementsAre(ElementsAre(V4l2ControlValue{V4L2_CID_POWER_LINE_FREQUENCY, 2}),
                            ElementsAre(V4l2ControlValue{V4L2_CID_WHITE_BALANCE_TEMPERATURE, 4000}),
                            ElementsAre(V4l2ControlValue{V4L2_CID_BRIGHTNESS, -2})));
}

TEST_F(KernelControls, OnlySignedControlsAreSignExtended) {
    EXPECT_TRUE(write(unit, 8, {0x60, 0xEA}).written);
    EXPECT_EQ(device.controls[V4L2_CID_SHARPNESS].value, 60000);
    EXPECT_TRUE(write(unit, 6, {0x4C, 0xFF}).written);
    EXPECT_EQ(device.controls[V4L2_CID_HUE].value, -180);
}

TEST_F(KernelControls, DataShorterThanTheControlIsRefused) {
    EXPECT_NE(write(unit, 2, {1}).error, 0);
    EXPECT_NE(write(terminal, 13, Bytes(7, 0)).error, 0);
    EXPECT_NE(write(terminal, 2, {}).error, 0);
    EXPECT_THAT(device.writes(), IsEmpty());
}

TEST_F(KernelControls, AValueOutOfRangeIsRefusedAndNeverBent) {
    EXPECT_EQ(write(unit, 2, {0x41, 0x00}).error, ERANGE);
    EXPECT_EQ(write(unit, 2, {0xBF, 0xFF}).error, ERANGE);
    EXPECT_EQ(write(unit, 11, {2}).error, ERANGE);
    EXPECT_EQ(write(terminal, 13, {0, 0, 0, 0, 0xFF, 0xFF, 0, 0}).error, ERANGE);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_FALSE(write(unit, 2, {0x41, 0x00}).written);
    EXPECT_TRUE(write(unit, 2, {0x40, 0x00}).written);
}

TEST_F(KernelControls, ARangeBeyondThirtyOneBitsIsLeftToTheDriver) {
    device.controls[V4L2_CID_EXPOSURE_ABSOLUTE].info = {1, -1, 1, 250, 0}; // 0xFFFFFFFF as V4L2 shows it
    device.controls[V4L2_CID_EXPOSURE_ABSOLUTE].setError = EPIPE;
    EXPECT_EQ(write(terminal, 4, {0, 0, 0, 0x90}).error, EPIPE);
    EXPECT_THAT(bytes(terminal, 4, UvcRequest::getMax), ElementsAre(0xFF, 0xFF, 0xFF, 0xFF));
}

TEST_F(KernelControls, AControlThatTheDriverLacksAnswersNothingAndRefusesNothing) {
    device.controls.clear();
    for (const KernelControl& control : kernelControls()) {
        for (const auto request :
             {UvcRequest::getCur, UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes,
              UvcRequest::getLen, UvcRequest::getInfo, UvcRequest::getDef}) {
            const auto reply = readKernelControl(device, control, request);
            EXPECT_THAT(reply.bytes, IsEmpty()) << control.name;
            EXPECT_EQ(controlErrorOf(reply.error, false), ErrorCode::none) << control.name;
        }
        for (const std::size_t length : {0U, 1U, 8U}) {
            const auto reply = writeKernelControl(device, control, Bytes(length, 0));
            EXPECT_EQ(reply.error, 0) << control.name;
            EXPECT_FALSE(reply.written) << control.name;
        }
    }
}

TEST_F(KernelControls, OneControlWithoutARangeLosesNoOther) {
    device.controls[V4L2_CID_CONTRAST].queryError = EIO;
    EXPECT_THAT(read(unit, 3, UvcRequest::getMin).bytes, IsEmpty());
    EXPECT_THAT(bytes(unit, 3, UvcRequest::getCur), ElementsAre(32, 0));
    EXPECT_THAT(bytes(unit, 2, UvcRequest::getMin), ElementsAre(0xC0, 0xFF));
    // The driver's result of the write decides.
    EXPECT_TRUE(write(unit, 3, {50, 0}).written);
}

TEST_F(KernelControls, AWriteIsNotTriedOnADeviceThatJustFailed) {
    for (const int error : {ENODEV, ETIMEDOUT}) {
        device.controls[V4L2_CID_CONTRAST].queryError = error;
        EXPECT_EQ(write(unit, 3, {50, 0}).error, error);
    }
    EXPECT_THAT(device.writes(), IsEmpty());
}

TEST_F(KernelControls, ErrorsOfTheDriverAreHandedOn) {
    for (const int error : {EACCES, EINVAL, EIO, EPIPE, EBUSY, EILSEQ, EREMOTE, ERANGE, ETIMEDOUT, ENODEV}) {
        auto& control = device.controls[V4L2_CID_GAIN];
        control.getError = control.setError = error;
        EXPECT_EQ(read(unit, 4, UvcRequest::getCur).error, error);
        const auto reply = write(unit, 4, {1, 0});
        EXPECT_EQ(reply.error, error);
        EXPECT_FALSE(reply.written);
    }
}

TEST(ControlErrorOfErrno, AStalledReadHasAnsweredAndAStalledWriteIsARefusal) {
    for (const int error : {EPIPE, EBUSY, EILSEQ, EREMOTE, ERANGE, EIO, EINVAL, EACCES}) {
        EXPECT_EQ(controlErrorOf(error, false), ErrorCode::none) << error;
        EXPECT_EQ(controlErrorOf(error, true), ErrorCode::refused) << error;
    }
}

TEST(ControlErrorOfErrno, AFaultOfTheLinkFailsReadsAndWritesAlike) {
    for (const bool write : {false, true}) {
        EXPECT_EQ(controlErrorOf(0, write), ErrorCode::none);
        EXPECT_EQ(controlErrorOf(ENODEV, write), ErrorCode::gone);
        EXPECT_EQ(controlErrorOf(ESHUTDOWN, write), ErrorCode::gone);
        EXPECT_EQ(controlErrorOf(ETIMEDOUT, write), ErrorCode::timeout);
        EXPECT_EQ(controlErrorOf(EPERM, write), ErrorCode::denied);
        EXPECT_EQ(controlErrorOf(EPROTO, write), ErrorCode::failed);
        EXPECT_EQ(controlErrorOf(EBADF, write), ErrorCode::failed);
        EXPECT_EQ(controlErrorOf(ENOTTY, write), ErrorCode::failed);
    }
}

} // namespace
} // namespace tavelo::test
