// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <array>

#include "descriptor_builder.h"
#include "platform/virtual/firmware/recorded_model.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "support/camera_records.h"

namespace tavelo {
namespace {

using test::Bytes;
using test::descriptor;
using test::join;
using testing::answered;
using testing::answerIn;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::numberControl;
using testing::toggleControl;

constexpr std::uint8_t terminal = 3;
constexpr std::uint8_t unit = 5;
constexpr std::uint8_t extension = 7;
constexpr std::uint8_t controlNumber = 2; // interfaces 0 and 1 are a microphone's
constexpr std::uint8_t streamNumber = 3;
constexpr std::uint8_t endpointAddress = 0x86;

Bytes formatGuid(char a, char b, char c, char d) {
    return {std::uint8_t(a),
            std::uint8_t(b),
            std::uint8_t(c),
            std::uint8_t(d),
            0,
            0,
            0x10,
            0,
            0x80,
            0,
            0,
            0xAA,
            0,
            0x38,
            0x9B,
            0x71};
}

Bytes uncompressed(std::uint8_t index, const Bytes& guid) {
    return descriptor(join({{0x24, 0x04, index, 1}, guid, {16, 1, 0, 0, 0, 0}}));
}

Bytes mjpeg(std::uint8_t index) {
    return descriptor({0x24, 0x06, index, 1, 0, 1, 0, 0, 0, 0});
}

Bytes frame(std::uint8_t subtype, std::uint8_t index, std::uint16_t width, std::uint16_t height,
            std::uint32_t defaultInterval, std::uint8_t count, const std::vector<std::uint32_t>& intervals) {
    Bytes body{0x24, subtype, index, 0};
    appendLittleEndian(body, width, 2);
    appendLittleEndian(body, height, 2);
    appendLittleEndian(body, 0, 12);
    appendLittleEndian(body, defaultInterval, 4);
    body.push_back(count);
    for (const std::uint32_t interval : intervals)
        appendLittleEndian(body, interval, 4);
    return descriptor(body);
}

Bytes endpoint(std::uint8_t address, std::uint8_t attributes, std::uint16_t size) {
    return descriptor({5, address, attributes, lowByte(size), highByte(size), 1});
}

// Its formats: 4 NV12, which is not drawn; 6 YUYV; 7 MJPEG with a continuous range of rates.
// @param width, height of the second frame
Bytes configurationBytes(std::uint16_t width = 320, std::uint16_t height = 240) {
    return test::configuration({test::interfaceDescriptor(0, 1, 1),
                                test::interfaceDescriptor(1, 2, 1),
                                test::interfaceDescriptor(1, 2, 1, 1),
                                endpoint(0x84, 5, 100),
                                test::videoControl(controlNumber),
                                descriptor({0x24, 1, 0x00, 0x01, 100, 0, 0, 0, 0, 0, 1, streamNumber}),
                                test::cameraTerminal(terminal, {0x0A, 0, 0}),
                                test::processingUnit(unit, terminal, {0x43, 0x10}),
                                test::extensionUnit(extension, unit),
                                endpoint(0x87, 3, 16),
                                test::interfaceDescriptor(streamNumber, 2),
                                descriptor({0x24, 1, 3, 0, 0, endpointAddress, 0, 8, 0, 0, 0, 1, 0, 0, 0}),
                                uncompressed(4, formatGuid('N', 'V', '1', '2')),
                                frame(5, 1, 640, 480, 333'333, 1, {333'333}),
                                uncompressed(6, formatGuid('Y', 'U', 'Y', '2')),
                                frame(5, 9, 640, 480, 333'333, 1, {333'333}),
                                frame(5, 2, width, height, 666'666, 2, {333'333, 666'666}),
                                mjpeg(7),
                                frame(7, 1, 1280, 720, 400'000, 0, {200'000, 800'000, 100'000}),
                                test::interfaceDescriptor(streamNumber, 2, 0x0E, 1),
                                endpoint(endpointAddress, 5, 0x0200),
                                test::interfaceDescriptor(streamNumber, 2, 0x0E, 2),
                                endpoint(endpointAddress, 5, 0x1400)},
                               3);
}

CameraRecord record() {
    CameraRecord camera;
    camera.product = "Odd Camera";
    camera.speed = 480;
    camera.controlInterface = controlNumber;
    camera.descriptors = {test::deviceDescriptor(0x1234, 0x5678), configurationBytes()};
    camera.controls = {
        numberControl(terminal, 2, 1, {0, 0, 0x09, 8, 8}),
        numberControl(terminal, 4, 4, {10, 100, 1, 20, 30}),
        numberControl(unit, 2, 2, {-20, 40, 2, 4, 6}),
        numberControl(unit, 6, 2, {-9, 9, 1, 0, 1}),
        toggleControl(unit, 11, 1, 1),
        numberControl(unit, 10, 2, {2800, 6500, 10, 4600, 5000}),
        numberControl(extension, 1, 3, {0, 0xFFFF, 1, 0, 0x010203}),
    };
    // Ruled by automatic exposure and automatic white balance.
    answerIn(camera.controls[1], UvcRequest::getInfo) = answered({0x0F});
    answerIn(camera.controls[5], UvcRequest::getInfo) = answered({0x0F});
    return camera;
}

VirtualCameraModel modelOf(const CameraRecord& record) {
    Error error;
    auto model = modelLike(record, 1, error);
    EXPECT_TRUE(model) << error.text;
    return model.value_or(VirtualCameraModel());
}

class RecordedCameraTest : public ::testing::Test {
protected:
    explicit RecordedCameraTest(const CameraRecord& like = record()) : firmware(modelOf(like)) {}

    UsbReply get(UvcRequest request, std::uint8_t entity, std::uint8_t selector, std::uint16_t length = 64) {
        return firmware.control(
            {uvc::classInterfaceIn, codeOf(request), static_cast<std::uint16_t>(selector << 8),
             static_cast<std::uint16_t>(entity << 8 | controlNumber), length},
            {});
    }
    UsbReplyKind set(std::uint8_t entity, std::uint8_t selector, std::int64_t value, std::size_t size) {
        Bytes bytes;
        appendLittleEndian(bytes, static_cast<std::uint64_t>(value), size);
        return firmware
            .control(
                {uvc::classInterfaceOut, codeOf(UvcRequest::setCur),
                 static_cast<std::uint16_t>(selector << 8),
                 static_cast<std::uint16_t>(entity << 8 | controlNumber), static_cast<std::uint16_t>(size)},
                bytes)
            .kind;
    }
    std::uint8_t errorCode() { return get(UvcRequest::getCur, 0, uvc::requestErrorCodeControl).data.at(0); }
    UsbReply standard(std::uint8_t type, std::uint8_t request, std::uint16_t value, std::uint16_t index) {
        return firmware.control({type, request, value, index, 255}, {});
    }
    UsbReplyKind writeStream(std::uint8_t selector, std::uint8_t format, std::uint8_t frameIndex,
                             std::uint32_t interval) {
        Bytes bytes(26);
        bytes[2] = format;
        bytes[3] = frameIndex;
        putLittleEndian(interval, std::span(bytes).subspan(4, 4));
        return firmware
            .control({uvc::classInterfaceOut, codeOf(UvcRequest::setCur),
                      static_cast<std::uint16_t>(selector << 8), streamNumber, 26},
                     bytes)
            .kind;
    }
    Bytes readStream(std::uint8_t selector) {
        return firmware
            .control({uvc::classInterfaceIn, codeOf(UvcRequest::getCur),
                      static_cast<std::uint16_t>(selector << 8), streamNumber, 64},
                     {})
            .data;
    }

    VirtualCameraFirmware firmware;
};

TEST_F(RecordedCameraTest, HasTheRecordedDescriptorsAndName) {
    EXPECT_THAT(firmware.deviceDescriptor(), ::testing::ElementsAreArray(record().descriptors.device));
    EXPECT_THAT(firmware.configurationDescriptor(),
                ::testing::ElementsAreArray(record().descriptors.configuration));
    EXPECT_EQ(firmware.model().vendorID, 0x1234);
    EXPECT_EQ(firmware.model().productID, 0x5678);
    const Bytes name = standard(0x80, uvc::getDescriptor, uvc::stringType << 8 | 2, 0).data;
    ASSERT_EQ(name.size(), 2U + 2 * record().product.size());
    EXPECT_EQ(name[2], 'O');
}

TEST_F(RecordedCameraTest, ItsNameMayHaveAnyLetters) {
    CameraRecord camera = record();
    camera.product = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xFF\xC3";
    VirtualCameraFirmware other(modelOf(camera));
    EXPECT_THAT(other.control({0x80, uvc::getDescriptor, uvc::stringType << 8 | 2, 0x0409, 255}, {}).data,
                ElementsAre(14, 3, 0xE9, 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE, '?', 0, '?', 0));
    camera.product = "\xF0\x90\x80\x80\xEF\xBF\xBF"; // the first of two units, and the last of one
    EXPECT_THAT(VirtualCameraFirmware(modelOf(camera))
                    .control({0x80, uvc::getDescriptor, uvc::stringType << 8 | 2, 0x0409, 255}, {})
                    .data,
                ElementsAre(8, 3, 0x00, 0xD8, 0x00, 0xDC, 0xFF, 0xFF));
    camera.product.assign(200, 'x');
    VirtualCameraFirmware longNamed(modelOf(camera));
    EXPECT_EQ(
        longNamed.control({0x80, uvc::getDescriptor, uvc::stringType << 8 | 2, 0x0409, 255}, {}).data.size(),
        254U);
}

TEST_F(RecordedCameraTest, HasNoSerialNumber) {
    CameraRecord camera = record();
    camera.descriptors.device[16] = 3;
    VirtualCameraFirmware other(modelOf(camera));
    EXPECT_EQ(other.control({0x80, uvc::getDescriptor, uvc::stringType << 8 | 3, 0x0409, 255}, {}).kind,
              UsbReplyKind::stall);
}

TEST_F(RecordedCameraTest, AnswersEveryReadAsItWasRecorded) {
    for (const ControlRecord& control : record().controls) {
        for (const UvcRequest request : controlReads) {
            const UsbReply reply = get(request, control.entity, control.selector);
            const RawAnswer& then = control.answerTo(request);
            EXPECT_EQ(reply.kind == UsbReplyKind::done, then.kind == AnswerKind::answered);
            EXPECT_EQ(reply.data, then.bytes);
        }
    }
}

TEST_F(RecordedCameraTest, RefusesUnknownEntitiesAndControls) {
    EXPECT_EQ(get(UvcRequest::getCur, 99, 1).kind, UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorInvalidUnit);
    EXPECT_EQ(get(UvcRequest::getCur, unit, 3).kind, UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorInvalidControl);
    EXPECT_EQ(set(extension, 2, 0, 3), UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorInvalidControl);
    EXPECT_EQ(get(UvcRequest{0x99}, unit, 2).kind, UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorInvalidRequest);
}

TEST_F(RecordedCameraTest, TakesValuesWithinTheRecordedRangeOnly) {
    EXPECT_EQ(set(unit, 2, -20, 2), UsbReplyKind::done);
    EXPECT_THAT(get(UvcRequest::getCur, unit, 2).data, ElementsAre(0xEC, 0xFF));
    EXPECT_EQ(set(unit, 2, 40, 2), UsbReplyKind::done);
    EXPECT_EQ(set(unit, 2, -21, 2), UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorOutOfRange);
    EXPECT_EQ(set(unit, 2, 41, 2), UsbReplyKind::stall);
    EXPECT_EQ(set(unit, 2, 1, 1), UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorUnknown);
    EXPECT_THAT(get(UvcRequest::getCur, unit, 2).data, ElementsAre(40, 0));
    EXPECT_THAT(get(UvcRequest::getDef, unit, 2).data, ElementsAre(4, 0));
}

TEST_F(RecordedCameraTest, ASwitchIsOnOrOff) {
    EXPECT_EQ(set(unit, 11, 2, 1), UsbReplyKind::stall);
    EXPECT_EQ(set(unit, 11, 0, 1), UsbReplyKind::done);
    EXPECT_THAT(get(UvcRequest::getCur, unit, 11).data, ElementsAre(0));
}

TEST_F(RecordedCameraTest, ABitmapTakesOneOfItsModes) {
    EXPECT_EQ(set(terminal, 2, 1, 1), UsbReplyKind::done);
    EXPECT_EQ(set(terminal, 2, 2, 1), UsbReplyKind::stall);
    EXPECT_EQ(set(terminal, 2, 9, 1), UsbReplyKind::stall);
    EXPECT_EQ(set(terminal, 2, 0, 1), UsbReplyKind::stall);
}

TEST_F(RecordedCameraTest, AnExtensionUnitTakesAnyBytes) {
    EXPECT_EQ(set(extension, 1, 0xABCDEF, 3), UsbReplyKind::done);
    EXPECT_THAT(get(UvcRequest::getCur, extension, 1).data, ElementsAre(0xEF, 0xCD, 0xAB));
}

TEST_F(RecordedCameraTest, AnAutomaticFunctionRulesUntilItIsOff) {
    EXPECT_EQ(set(terminal, 4, 50, 4), UsbReplyKind::stall);
    EXPECT_EQ(errorCode(), uvc::errorWrongState);
    EXPECT_EQ(set(terminal, 2, uvc::manualExposure, 1), UsbReplyKind::done);
    EXPECT_THAT(get(UvcRequest::getInfo, terminal, 4).data, ElementsAre(0x0B));
    EXPECT_EQ(set(terminal, 4, 50, 4), UsbReplyKind::done);
    EXPECT_EQ(set(terminal, 2, uvc::aperturePriority, 1), UsbReplyKind::done);
    EXPECT_THAT(get(UvcRequest::getInfo, terminal, 4).data, ElementsAre(0x0F));
}

TEST_F(RecordedCameraTest, AReadOnlyControlRefusesAWrite) {
    CameraRecord camera = record();
    answerIn(camera.controls[2], UvcRequest::getInfo) = answered({uvc::infoGet});
    VirtualCameraFirmware other(modelOf(camera));
    EXPECT_FALSE(other
                     .control({uvc::classInterfaceOut, codeOf(UvcRequest::setCur), 2 << 8,
                               unit << 8 | controlNumber, 2},
                              Bytes{0, 0})
                     .kind == UsbReplyKind::done);
}

class FaultyRecordedCameraTest : public RecordedCameraTest {
protected:
    FaultyRecordedCameraTest() : RecordedCameraTest(faulty()) {}

    static CameraRecord faulty() {
        CameraRecord camera = record();
        answerIn(camera.controls[2], UvcRequest::getDef) = {AnswerKind::stalled, {}};
        answerIn(camera.controls[2], UvcRequest::getCur) = answered({6});
        answerIn(camera.controls[3], UvcRequest::getInfo) = {AnswerKind::timedOut, {}};
        answerIn(camera.controls[3], UvcRequest::getCur) = {AnswerKind::skipped, {}};
        answerIn(camera.controls[3], UvcRequest::getMin) = {AnswerKind::notAsked, {}};
        return camera;
    }
};

TEST_F(FaultyRecordedCameraTest, RepeatsRefusalsSilencesAndShortAnswers) {
    EXPECT_EQ(get(UvcRequest::getDef, unit, 2).kind, UsbReplyKind::stall);
    EXPECT_THAT(get(UvcRequest::getCur, unit, 2).data, ElementsAre(6));
    EXPECT_EQ(get(UvcRequest::getInfo, unit, 6).kind, UsbReplyKind::silence);
    EXPECT_EQ(get(UvcRequest::getCur, unit, 6).kind, UsbReplyKind::silence);
    EXPECT_EQ(get(UvcRequest::getMin, unit, 6).kind, UsbReplyKind::stall);
    EXPECT_EQ(set(unit, 6, 0, 2), UsbReplyKind::silence);
}

TEST_F(FaultyRecordedCameraTest, AShortAnswerStaysShortAfterAWrite) {
    EXPECT_EQ(set(unit, 2, 0x0012, 2), UsbReplyKind::done);
    EXPECT_THAT(get(UvcRequest::getCur, unit, 2).data, ElementsAre(0x12));
}

// Whether a camera like this takes a value of `size` bytes.
bool takes(const CameraRecord& like, std::uint8_t entity, std::uint8_t selector, std::uint16_t size) {
    VirtualCameraFirmware camera(modelOf(like));
    return camera
               .control({uvc::classInterfaceOut, codeOf(UvcRequest::setCur), std::uint16_t(selector << 8),
                         std::uint16_t(entity << 8 | controlNumber), size},
                        Bytes(size, 2))
               .kind == UsbReplyKind::done;
}

const RawAnswer stalled{AnswerKind::stalled, {}};

TEST(OddSizes, AControlThatDoesNotTellItsSizeHasThatOfTheClass) {
    for (const RawAnswer& length : {stalled, answered({0, 0}), answered({0x01, 0x10})}) {
        CameraRecord camera = record();
        ControlRecord& brightness = camera.controls[2];
        answerIn(brightness, UvcRequest::getLen) = length;
        answerIn(brightness, UvcRequest::getMin) = stalled;
        answerIn(brightness, UvcRequest::getCur) = answered({6});
        EXPECT_TRUE(takes(camera, unit, 2, 2));
        EXPECT_FALSE(takes(camera, unit, 2, 1));
    }
}

TEST(OddSizes, AControlThatNobodyKnowsHasTheSizeOfItsValue) {
    CameraRecord camera = record();
    answerIn(camera.controls[6], UvcRequest::getLen) = stalled;
    EXPECT_TRUE(takes(camera, extension, 1, 3));
    EXPECT_FALSE(takes(camera, extension, 1, 2));
}

TEST(OddSizes, ANumberOfOneByteWithoutARangeTakesAny) {
    CameraRecord camera = record();
    ControlRecord& brightness = camera.controls[2];
    answerIn(brightness, UvcRequest::getLen) = answered({1, 0});
    answerIn(brightness, UvcRequest::getMin) = stalled;
    answerIn(brightness, UvcRequest::getMax) = stalled;
    EXPECT_TRUE(takes(camera, unit, 2, 1));
}

TEST(OddSizes, ASwitchOfTwoBytesWithoutARangeTakesAny) {
    CameraRecord camera = record();
    answerIn(camera.controls[4], UvcRequest::getLen) = answered({2, 0});
    EXPECT_TRUE(takes(camera, unit, 11, 2));
    answerIn(camera.controls[4], UvcRequest::getLen) = answered({1, 0});
    EXPECT_FALSE(takes(camera, unit, 11, 1)) << "2 is neither off nor on";
}

constexpr std::uint8_t panTilt = 0x0D;

std::int64_t pair(std::int32_t pan, std::int32_t tilt) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(tilt)) << 32U |
                                     static_cast<std::uint32_t>(pan));
}

// Cameras that move have one control for both directions, and one of four numbers that the standard gives no
// order.
class MovingRecordedCameraTest : public RecordedCameraTest {
protected:
    MovingRecordedCameraTest() : RecordedCameraTest(moving()) {}

    static CameraRecord moving() {
        CameraRecord camera = record();
        camera.controls.push_back(
            numberControl(terminal, panTilt, 8, {pair(-100, -20), pair(100, 30), pair(1, 1), 0, 0}));
        camera.controls.push_back(numberControl(unit, 12, 4, {0, 0x0010'0010, 1, 0, 0}));
        return camera;
    }
};

TEST_F(MovingRecordedCameraTest, EachDirectionHasItsOwnRange) {
    for (const auto& [pan, tilt] :
         {std::pair{-100, -20}, std::pair{100, 30}, std::pair{-100, 30}, std::pair{-1, -1}})
        EXPECT_EQ(set(terminal, panTilt, pair(pan, tilt), 8), UsbReplyKind::done) << pan << ' ' << tilt;
    for (const auto& [pan, tilt] :
         {std::pair{-101, 0}, std::pair{101, 0}, std::pair{0, -21}, std::pair{0, 31}})
        EXPECT_EQ(set(terminal, panTilt, pair(pan, tilt), 8), UsbReplyKind::stall) << pan << ' ' << tilt;
    EXPECT_THAT(get(UvcRequest::getCur, terminal, panTilt).data,
                ElementsAre(255, 255, 255, 255, 255, 255, 255, 255));
}

TEST_F(MovingRecordedCameraTest, ACompoundValueIsTakenAsItIs) {
    EXPECT_EQ(set(unit, 12, 0x7FFF'7FFF, 4), UsbReplyKind::done);
}

TEST_F(RecordedCameraTest, AControlThatTheDescriptorsDoNotListHasNoValue) {
    CameraRecord camera = record();
    camera.controls[2].listed = false;
    EXPECT_EQ(VirtualCameraFirmware(modelOf(camera)).controlValue(control::brightness), std::nullopt);
}

TEST_F(RecordedCameraTest, ValuesCanBeReadAndSetPastTheHost) {
    EXPECT_EQ(firmware.controlValue(control::brightness), 6);
    EXPECT_TRUE(firmware.setControlValue(control::brightness, -3));
    EXPECT_EQ(firmware.controlValue(control::brightness), -3);
    EXPECT_FALSE(firmware.setControlValue(control::brightness, 41));
    EXPECT_FALSE(firmware.setControlValue(control::brightness, 0x10000));
    EXPECT_EQ(firmware.controlValue(control::zoom), std::nullopt);
    EXPECT_FALSE(firmware.setControlValue(control::zoom, 1));
}

TEST_F(RecordedCameraTest, LimitsAreThoseOfTheRecord) {
    EXPECT_EQ(firmware.controlLimits(control::brightness), (ControlLimits{-20, 40, 2, 4}));
    EXPECT_EQ(firmware.controlLimits(control::zoom), std::nullopt);
}

TEST_F(RecordedCameraTest, ThePictureFollowsTheRecordedRange) {
    EXPECT_TRUE(firmware.setControlValue(control::brightness, 4));
    EXPECT_DOUBLE_EQ(firmware.pictureSettings().brightness, 0);
    EXPECT_TRUE(firmware.setControlValue(control::brightness, 40));
    EXPECT_DOUBLE_EQ(firmware.pictureSettings().brightness, 0.6);
    EXPECT_TRUE(firmware.setControlValue(control::brightness, -20));
    EXPECT_DOUBLE_EQ(firmware.pictureSettings().brightness, -0.6);
}

TEST_F(RecordedCameraTest, OffersWhatItCanDraw) {
    const auto& offers = firmware.model().offers;
    ASSERT_EQ(offers.size(), 3U);
    EXPECT_EQ(offers[0].encoding, StreamEncoding::yuyv);
    EXPECT_EQ(offers[0].width, 640);
    EXPECT_THAT(offers[1].frameIntervals, ElementsAre(666'666, 333'333));
    EXPECT_EQ(offers[2].encoding, StreamEncoding::mjpeg);
    EXPECT_THAT(offers[2].frameIntervals, ElementsAre(400'000, 200'000, 800'000));
}

TEST_F(RecordedCameraTest, NegotiatesByTheRecordedIndexes) {
    EXPECT_EQ(writeStream(uvc::probeControl, 6, 2, 333'333), UsbReplyKind::done);
    const Bytes probe = readStream(uvc::probeControl);
    ASSERT_EQ(probe.size(), 26U); // version 1.0
    EXPECT_EQ(probe[2], 6);
    EXPECT_EQ(probe[3], 2);
    EXPECT_EQ(doubleWordAt(probe, 4), 333'333U);
    EXPECT_EQ(writeStream(uvc::commitControl, 6, 2, 333'333), UsbReplyKind::done);
    const auto format = firmware.committedFormat();
    ASSERT_TRUE(format);
    EXPECT_EQ(format->width, 320);
    EXPECT_EQ(format->maxPayload, 3072U); // the larger of the two settings
}

TEST_F(RecordedCameraTest, RefusesAFormatThatItCannotDraw) {
    EXPECT_EQ(writeStream(uvc::probeControl, 4, 1, 333'333), UsbReplyKind::stall);
    EXPECT_EQ(writeStream(uvc::commitControl, 4, 1, 333'333), UsbReplyKind::stall);
    EXPECT_FALSE(firmware.committedFormat());
}

TEST_F(RecordedCameraTest, HasTheRecordedInterfacesSettingsAndConfiguration) {
    const auto select = [&](std::uint16_t interface, std::uint16_t setting) {
        return standard(0x01, uvc::setInterface, setting, interface).kind == UsbReplyKind::done;
    };
    EXPECT_EQ(firmware.model().streamingEndpoint(), endpointAddress);
    EXPECT_TRUE(select(streamNumber, 2));
    EXPECT_EQ(firmware.alternateSetting(), 2);
    EXPECT_FALSE(select(streamNumber, 3));
    EXPECT_TRUE(select(1, 1));
    EXPECT_EQ(firmware.alternateSetting(), 2);
    EXPECT_THAT(standard(0x81, uvc::getInterface, 0, 1).data, ElementsAre(1));
    EXPECT_FALSE(select(0, 1));
    EXPECT_FALSE(select(4, 0));
    EXPECT_EQ(standard(0x00, uvc::setConfiguration, 3, 0).kind, UsbReplyKind::done);
    EXPECT_EQ(standard(0x00, uvc::setConfiguration, 1, 0).kind, UsbReplyKind::stall);
    EXPECT_EQ(standard(0x82, uvc::getStatus, 0, 0x84).kind, UsbReplyKind::done);
    EXPECT_EQ(standard(0x82, uvc::getStatus, 0, 0x88).kind, UsbReplyKind::stall);
}

TEST_F(RecordedCameraTest, StreamsOnceCommittedAndSelected) {
    EXPECT_EQ(writeStream(uvc::commitControl, 6, 9, 333'333), UsbReplyKind::done);
    EXPECT_FALSE(firmware.streaming());
    standard(0x01, uvc::setInterface, 2, streamNumber);
    EXPECT_TRUE(firmware.streaming());
}

TEST(RecordedModel, RefusesDescriptorsThatAreNoCamera) {
    Error error;
    CameraRecord camera = record();
    camera.descriptors.device.pop_back();
    EXPECT_FALSE(modelLike(camera, 1, error));
    EXPECT_THAT(error.text, HasSubstr("device descriptor"));
    camera = record();
    camera.descriptors.configuration.resize(8);
    EXPECT_FALSE(modelLike(camera, 1, error));
    EXPECT_THAT(error.text, HasSubstr("configuration descriptor"));
    camera = record();
    camera.controlInterface = 0;
    EXPECT_FALSE(modelLike(camera, 1, error));
    EXPECT_THAT(error.text, HasSubstr("interface 0"));
}

TEST(RecordedModel, AnEntityThatIsMissingHasTheIdentifierOfNone) {
    CameraRecord camera = record();
    camera.descriptors.configuration = test::configuration(
        {test::videoControl(controlNumber), test::processingUnit(unit, terminal, {0x43, 0x10})});
    EXPECT_EQ(modelOf(camera).terminalID, 0);
    EXPECT_EQ(modelOf(camera).unitID, unit);
    camera.descriptors.configuration = test::configuration(
        {test::videoControl(controlNumber), test::cameraTerminal(terminal, {0x0A, 0, 0})});
    EXPECT_EQ(modelOf(camera).terminalID, terminal);
    EXPECT_EQ(modelOf(camera).unitID, 0);
}

TEST(RecordedModel, AnyCutOfTheDescriptorsIsHarmless) {
    const CameraRecord whole = record();
    for (std::size_t length = 0; length < whole.descriptors.configuration.size(); ++length) {
        CameraRecord camera = whole;
        camera.descriptors.configuration.resize(length);
        Error error;
        auto model = modelLike(camera, 1, error);
        if (!model) continue;
        VirtualCameraFirmware firmware(std::move(*model));
        EXPECT_EQ(firmware.configurationDescriptor().size(), length);
        EXPECT_FALSE(firmware.streaming());
        firmware.pictureSettings();
    }
}

TEST(RecordedModel, OffersNoSizeThatCannotBeDrawn) {
    const auto offers = [](std::uint16_t width, std::uint16_t height) {
        CameraRecord camera = record();
        camera.descriptors.configuration = configurationBytes(width, height);
        return modelOf(camera).offers.size();
    };
    EXPECT_EQ(offers(16, 16), 3U);
    EXPECT_EQ(offers(8192, 8192), 3U);
    EXPECT_EQ(offers(321, 240), 2U) << "YUYV has pairs of pixels";
    EXPECT_EQ(offers(320, 241), 3U);
    for (const std::uint16_t side : std::to_array<std::uint16_t>({0, 14, 8194})) {
        EXPECT_EQ(offers(side, 240), 2U) << side;
        EXPECT_EQ(offers(320, side), 2U) << side;
    }
}

TEST(RecordedModel, ACameraWithoutAStreamKeepsItsControls) {
    CameraRecord camera = record();
    camera.descriptors.configuration = test::configuration(
        {test::videoControl(controlNumber), test::header(0x0110),
         test::cameraTerminal(terminal, {0x0A, 0, 0}), test::processingUnit(unit, terminal, {0x43, 0x10})});
    VirtualCameraFirmware firmware(modelOf(camera));
    EXPECT_TRUE(firmware.model().offers.empty());
    EXPECT_EQ(firmware.controlValue(control::brightness), 6);
}

} // namespace
} // namespace tavelo
