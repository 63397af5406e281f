// SPDX-License-Identifier: MIT
#include "probe/report_text.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"
#include "probe/probe_text.h"
#include "support/camera_records.h"

namespace tavelo {
namespace {

using testing::answered;
using testing::answerIn;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::numberControl;

CameraRecord record() {
    CameraRecord camera;
    camera.program = "1.0.0";
    camera.kernel = "6.1.0";
    camera.transport = "kernel";
    camera.node = "/dev/video2";
    camera.product = "Odd Camera";
    camera.speed = 480;
    const test::Bytes format = test::descriptor({0x24, 0x06, 1, 1, 0, 1, 0, 0, 0, 0});
    const test::Bytes frame =
        test::descriptor({0x24, 0x07, 1, 0, 0x80, 0x02, 0xE0, 0x01, 0,    0, 0,    0,    0,    0,   0,
                          0,    0,    0, 0, 0,    0x15, 0x16, 0x05, 0x00, 1, 0x15, 0x16, 0x05, 0x00});
    camera.descriptors = {
        test::deviceDescriptor(0x1234, 0xABCD),
        test::configuration(
            {test::videoControl(0), test::header(0x0110), test::cameraTerminal(3, {0x02, 0, 0}),
             test::otherTerminal(9), test::selectorUnit(4, {3, 9}), test::processingUnit(5, 4, {0x01, 0}),
             test::extensionUnit(7, 5), test::interfaceDescriptor(1, 2), format, frame,
             test::interfaceDescriptor(1, 2, 0x0E, 1), test::descriptor({5, 0x82, 5, 0x00, 0x14, 1}),
             test::interfaceDescriptor(1, 2, 0x0E, 2), test::descriptor({5, 0x82, 2, 0x00, 0x02, 1})})};
    camera.controls = {numberControl(5, 2, 2, {-20, 40, 1, 0, -3})};
    camera.controls[0].driver = {AnswerKind::answered, {{0x00980900, "Brightness", -20, 40, 1, 0, 0}}};
    return camera;
}

TEST(ReportText, IsLaidOutByIndentationWithEmptyLinesBetweenItsParts) {
    EXPECT_EQ(reportText(record()), R"(Odd Camera
  vendor 0x1234, product 0xabcd, release 1.00
  USB 2.00, USB Video Class 1.10, 480 Mbit/s
  asked over the transport "kernel", /dev/video2, kernel 6.1.0

Entities of control interface 0
  3 camera terminal of type 0x0201
    bmControls 020000
      auto exposure mode
  9 input terminal of type 0x0401
  4 selector unit, fed by 3, 9
  5 processing unit, fed by 4
    bmControls 0100
      brightness
  7 extension unit aaaaaaaa-aaaa-aaaa-aaaa-aaaaaaaaaaaa, fed by 5
    bmControls ff
      selector 1
      selector 2
      selector 3
      selector 4
      selector 5
      selector 6
      selector 7
      selector 8

Formats of streaming interface 1, endpoint 0x00
  1 MJPEG
    1 640x480, frames a second: 30
  alternate setting 1, endpoint 0x82, isochronous, 3072 bytes
  alternate setting 2, endpoint 0x82, bulk, 512 bytes

Controls
  entity 5, selector 2: brightness
    GET_INFO 03
    GET_LEN 0200
    GET_MIN ecff = -20
    GET_MAX 2800 = 40
    GET_RES 0100 = 1
    GET_DEF 0000 = 0
    GET_CUR fdff = -3
    driver "Brightness" (0x00980900): -20 to 40, step 1, default 0, flags 0x0

No disagreements
)");
}

TEST(ReportText, ListsDisagreements) {
    CameraRecord camera = record();
    answerIn(camera.controls[0], UvcRequest::getRes) = answered(0, 2);
    answerIn(camera.controls[0], UvcRequest::getMax) = {AnswerKind::timedOut, {}};
    const std::string text = reportText(camera);
    EXPECT_THAT(text, HasSubstr("GET_MAX timed out\n"));
    EXPECT_THAT(text, HasSubstr("Disagreements\n  entity 5, brightness: GET_MAX is not answered\n"
                                "  entity 5, brightness: GET_RES says 0\n"));
    EXPECT_THAT(text, Not(HasSubstr("No disagreements")));
}

TEST(ReportText, SaysWhoAnsweredAndWhatIsNotListed) {
    CameraRecord camera = record();
    camera.controls[0].source = AnswerSource::driver;
    EXPECT_THAT(reportText(camera), HasSubstr("brightness (the kernel's driver answers)\n"));
    camera.controls[0] = ControlRecord();
    camera.controls[0].entity = 5;
    camera.controls[0].selector = 3;
    answerIn(camera.controls[0], UvcRequest::getInfo) = answered({3});
    EXPECT_THAT(reportText(camera), HasSubstr("selector 3: contrast (not listed)\n    GET_INFO 03\n\n"));
}

TEST(ReportText, AnEmptyRecordHasAReport) {
    EXPECT_THAT(reportText({}), HasSubstr("Camera without a name\n"));
}

TEST(ProbeText, Values) {
    const ClassControl* pan = classControl(control::panTilt);
    const test::Bytes pair{0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0};
    EXPECT_EQ(valueText(pan, pair), "-1 2");
    EXPECT_EQ(valueText(classControl(control::contrast), test::Bytes{0xFF, 0xFF}), "65535");
    EXPECT_EQ(valueText(classControl(control::brightness), test::Bytes{0xFF, 0xFF}), "-1");
    EXPECT_EQ(valueText(classControl(control::brightness), test::Bytes{0xFF}), "ff");
    EXPECT_EQ(valueText(classControl(control::autoExposureMode), test::Bytes{8}), "0x08");
    EXPECT_EQ(valueText(nullptr, test::Bytes{0x0A, 0xB0}), "0ab0");
}

TEST(ProbeText, Numbers) {
    EXPECT_EQ(versionText(0x0110), "1.10");
    EXPECT_EQ(versionText(0x1234), "12.34");
    EXPECT_EQ(hexNumber(0, 2), "0x00");
    EXPECT_EQ(hexNumber(0x12345, 4), "0x12345");
    DescribedFrame frame;
    frame.intervals = {333'333, 2'000'000};
    EXPECT_EQ(ratesText(frame), "30, 5");
    frame.isContinuous = true;
    EXPECT_EQ(ratesText(frame), "5 to 30");
}

} // namespace
} // namespace tavelo
