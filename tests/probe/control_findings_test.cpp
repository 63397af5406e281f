// SPDX-License-Identifier: MIT
#include "probe/control_findings.h"

#include <gmock/gmock.h>

#include "support/camera_records.h"

namespace tavelo {
namespace {

using testing::answered;
using testing::answerIn;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::numberControl;
using testing::toggleControl;

constexpr std::uint8_t terminal = 1;
constexpr std::uint8_t unit = 2;
constexpr std::uint8_t extension = 3;
const RawAnswer stalled{AnswerKind::stalled, {}};
const RawAnswer timedOut{AnswerKind::timedOut, {}};

CameraDescription camera() {
    CameraDescription camera;
    camera.classVersion = uvc::version11;
    camera.entities.resize(3);
    camera.entities[0].id = terminal;
    camera.entities[0].subtype = uvc::inputTerminal;
    camera.entities[0].terminalType = uvc::cameraTerminal;
    camera.entities[1].id = unit;
    camera.entities[1].subtype = uvc::processingUnit;
    camera.entities[2].id = extension;
    camera.entities[2].subtype = uvc::extensionUnit;
    return camera;
}

std::vector<std::string> textsOf(const ControlRecord& control) {
    CameraRecord record;
    record.controls.push_back(control);
    std::vector<std::string> texts;
    for (const Finding& finding : findingsOf(camera(), record)) {
        EXPECT_EQ(finding.entity, control.entity);
        texts.push_back(finding.text);
    }
    return texts;
}

ControlRecord brightness() {
    return numberControl(unit, 2, 2, {-10, 10, 1, 0, 5});
}

ControlRecord exposureMode() {
    ControlRecord control = toggleControl(terminal, 2, 8, 1);
    answerIn(control, UvcRequest::getRes) = answered({0x09});
    return control;
}

TEST(ControlFindings, ASoundControlHasNone) {
    EXPECT_THAT(textsOf(brightness()), IsEmpty());
    EXPECT_THAT(textsOf(exposureMode()), IsEmpty());
    EXPECT_THAT(textsOf(toggleControl(unit, 11, 1, 0)), IsEmpty());
    EXPECT_THAT(textsOf(numberControl(extension, 1, 3, {0, 0xFFFFFF, 1, 0, 77})), IsEmpty());
    EXPECT_THAT(textsOf(numberControl(unit, 2, 2, {-10, 10, 1, -10, 10})), IsEmpty());
}

TEST(ControlFindings, GetInfo) {
    ControlRecord control = brightness();
    answerIn(control, UvcRequest::getInfo) = stalled;
    EXPECT_THAT(textsOf(control), ElementsAre("listed, but GET_INFO is refused"));
    answerIn(control, UvcRequest::getInfo) = answered({3, 0});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_INFO answers 2 bytes in place of 1"));
    answerIn(control, UvcRequest::getInfo) = answered({4});
    EXPECT_THAT(textsOf(control),
                ElementsAre("listed, but GET_INFO says that it can be neither read nor set"));
    answerIn(control, UvcRequest::getInfo) = answered({1});
    answerIn(control, UvcRequest::getCur) = stalled;
    EXPECT_THAT(textsOf(control), ElementsAre("GET_INFO says that it can be read, but GET_CUR is refused"));
    answerIn(control, UvcRequest::getInfo) = answered({2});
    EXPECT_THAT(textsOf(control), IsEmpty());
}

TEST(ControlFindings, GetLen) {
    ControlRecord control = brightness();
    answerIn(control, UvcRequest::getLen) = stalled;
    EXPECT_THAT(textsOf(control), IsEmpty()) << "the class requires it of extension units only";
    answerIn(control, UvcRequest::getLen) = answered({2});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_LEN answers 1 byte in place of 2"));
    answerIn(control, UvcRequest::getLen) = answered({0, 0});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_LEN says 0"));
    control = numberControl(unit, 2, 4, {-10, 10, 1, 0, 5});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_LEN says 4, the class says 2"));
    control = numberControl(extension, 1, 2, {});
    answerIn(control, UvcRequest::getLen) = stalled;
    EXPECT_THAT(textsOf(control), Contains("GET_LEN is refused"));
}

TEST(ControlFindings, AnswersOfTheWrongLength) {
    ControlRecord control = brightness();
    answerIn(control, UvcRequest::getCur) = answered({5});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_CUR answers 1 byte in place of 2"));
    answerIn(control, UvcRequest::getMin) = answered({});
    EXPECT_THAT(textsOf(control),
                ElementsAre("GET_MIN answers 0 bytes in place of 2", "GET_CUR answers 1 byte in place of 2"));
}

TEST(ControlFindings, TheLongestAnswerThatIsAskedFor) {
    ControlRecord control = numberControl(extension, 1, 1, {});
    const auto saysLength = [&](std::uint16_t length) {
        answerIn(control, UvcRequest::getLen) = answered({lowByte(length), highByte(length)});
        answerIn(control, UvcRequest::getCur) = answered({5});
        return textsOf(control);
    };
    const auto tooShort = "GET_CUR answers 1 byte in place of " + std::to_string(longestAnswer);
    EXPECT_THAT(saysLength(longestAnswer), Contains(tooShort));
    EXPECT_THAT(saysLength(longestAnswer + 1), Not(Contains(HasSubstr("4097"))));
}

TEST(ControlFindings, RefusedRanges) {
    ControlRecord control = brightness();
    for (const UvcRequest request :
         {UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes, UvcRequest::getDef})
        answerIn(control, request) = stalled;
    EXPECT_THAT(textsOf(control), ElementsAre("GET_MIN is refused", "GET_MAX is refused",
                                              "GET_RES is refused", "GET_DEF is refused"));
    control.entity = extension;
    EXPECT_THAT(textsOf(control), ::testing::SizeIs(4));
}

TEST(ControlFindings, WhatTheClassDoesNotRequireMayBeRefused) {
    ControlRecord powerLine = numberControl(unit, 5, 1, {0, 2, 1, 1, 1});
    for (const UvcRequest request : {UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes})
        answerIn(powerLine, request) = stalled;
    EXPECT_THAT(textsOf(powerLine), IsEmpty());
    answerIn(powerLine, UvcRequest::getDef) = stalled;
    EXPECT_THAT(textsOf(powerLine), ElementsAre("GET_DEF is refused"));
    ControlRecord priority = toggleControl(terminal, 3, 0, 0);
    answerIn(priority, UvcRequest::getDef) = stalled;
    EXPECT_THAT(textsOf(priority), IsEmpty());
    ControlRecord autoHue = toggleControl(unit, 16, 0, 0);
    answerIn(autoHue, UvcRequest::getDef) = stalled;
    EXPECT_THAT(textsOf(autoHue), ElementsAre("GET_DEF is refused"));
    ControlRecord mode = exposureMode();
    answerIn(mode, UvcRequest::getRes) = stalled;
    EXPECT_THAT(textsOf(mode), ElementsAre("GET_RES is refused"));
}

TEST(ControlFindings, ValuesOutsideTheRange) {
    EXPECT_THAT(textsOf(numberControl(unit, 2, 2, {10, -10, 1, 0, 0})),
                ElementsAre("the minimum 10 is above the maximum -10"));
    EXPECT_THAT(
        textsOf(numberControl(unit, 2, 2, {-10, 10, 1, 11, -11})),
        ElementsAre("the default 11 is outside -10 to 10", "the current value -11 is outside -10 to 10"));
    EXPECT_THAT(textsOf(numberControl(unit, 3, 2, {0, 0xFFFF, 1, 0x8000, 0xFFFF})), IsEmpty())
        << "contrast is not signed";
    EXPECT_THAT(textsOf(numberControl(unit, 2, 2, {-10, 10, 0, 0, 0})), ElementsAre("GET_RES says 0"));
}

TEST(ControlFindings, EachHalfOfPanAndTilt) {
    const auto pair = [](std::int64_t pan, std::int64_t tilt) {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(tilt) << 32U |
                                         static_cast<std::uint32_t>(pan));
    };
    EXPECT_THAT(
        textsOf(numberControl(terminal, 13, 8, {pair(-9, -5), pair(9, 5), pair(1, 0), 0, pair(10, -6)})),
        ElementsAre("pan: the current value 10 is outside -9 to 9", "tilt: GET_RES says 0",
                    "tilt: the current value -6 is outside -5 to 5"));
}

TEST(ControlFindings, ModesAreSingleBitsOfTheMap) {
    ControlRecord control = exposureMode();
    answerIn(control, UvcRequest::getCur) = answered({0x04});
    answerIn(control, UvcRequest::getDef) = answered({0x09});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_DEF says 0x09, which is not one mode",
                                              "GET_CUR says 0x04, which GET_RES does not offer"));
    control = exposureMode();
    answerIn(control, UvcRequest::getRes) = answered({0});
    EXPECT_THAT(textsOf(control), ElementsAre("GET_RES says 0: no mode at all"));
}

TEST(ControlFindings, SwitchesAreOnOrOff) {
    EXPECT_THAT(textsOf(toggleControl(unit, 11, 1, 2)), ElementsAre("GET_CUR says 2, neither on nor off"));
    EXPECT_THAT(textsOf(toggleControl(unit, 11, 3, 1)), ElementsAre("GET_DEF says 3, neither on nor off"));
}

TEST(ControlFindings, SilencesAreNamedAndEndTheEntity) {
    ControlRecord control = brightness();
    answerIn(control, UvcRequest::getMax) = timedOut;
    EXPECT_THAT(textsOf(control), ElementsAre("GET_MAX is not answered"));
    answerIn(control, UvcRequest::getCur) = {AnswerKind::skipped, {}};
    EXPECT_THAT(textsOf(control),
                ElementsAre("the camera was silent, the rest was not asked", "GET_MAX is not answered"));
}

TEST(ControlFindings, AnUnlistedControlThatAnswers) {
    ControlRecord control;
    control.entity = unit;
    control.selector = 7;
    EXPECT_THAT(textsOf(control), IsEmpty());
    answerIn(control, UvcRequest::getInfo) = answered({3});
    EXPECT_THAT(textsOf(control),
                ElementsAre("GET_INFO is answered, although the descriptors do not list it"));
    answerIn(control, UvcRequest::getInfo) = timedOut;
    EXPECT_THAT(textsOf(control), ElementsAre("GET_INFO is not answered"));
}

TEST(ControlFindings, WhatTheDriverLacks) {
    ControlRecord control = brightness();
    control.driver = {AnswerKind::answered, {}};
    EXPECT_THAT(textsOf(control), ElementsAre("the kernel's driver has no control for it"));
    control.driver = {AnswerKind::answered, {{1, "Brightness", -10, 10, 1, 0, 0}}};
    EXPECT_THAT(textsOf(control), IsEmpty());
    control.driver.controls[0].defaultValue = 11;
    EXPECT_THAT(textsOf(control),
                ElementsAre("the kernel's driver has a default outside the range for Brightness"));
    control.driver.controls[0].minimum = 11;
    EXPECT_THAT(textsOf(control), ElementsAre("the kernel's driver has an empty range for Brightness"));
    control.driver = {AnswerKind::stalled, {}};
    EXPECT_THAT(textsOf(control),
                ElementsAre("the kernel's driver cannot read its range: the camera refuses"));
    control.driver = {AnswerKind::timedOut, {}};
    EXPECT_THAT(textsOf(control), ElementsAre("the kernel's driver waits for it in vain"));
}

TEST(ControlFindings, BitsThatTheClassDoesNotAssign) {
    CameraDescription odd = camera();
    odd.entities[1].unknownBits = {20};
    EXPECT_THAT(findingsOf(odd, {}),
                ElementsAre(Finding{unit, 0, "bmControls sets bit 20, which the class does not assign"}));
}

TEST(ControlFindings, MoreControlsThanAreAsked) {
    CameraDescription odd = camera();
    odd.entities[2].selectors.resize(mostControlRecords);
    EXPECT_THAT(findingsOf(odd, {}), IsEmpty());
    odd.entities[1].selectors.resize(1);
    EXPECT_THAT(findingsOf(odd, {}),
                ElementsAre(Finding{0, 0, "lists 1025 controls; the first 1024 were asked"}));
}

} // namespace
} // namespace tavelo
