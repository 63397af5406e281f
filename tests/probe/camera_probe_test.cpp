// SPDX-License-Identifier: MIT
#include "probe/camera_probe.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "descriptor_builder.h"
#include "platform/uvc/controls.h"
#include "support/camera_records.h"
#include "support/fake_inspected_device.h"

namespace tavelo {
namespace {

using testing::answered;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint8_t terminal = 3;
constexpr std::uint8_t unit = 5;
constexpr std::uint8_t extension = 7;

// Lists exposure time, brightness, contrast and selectors 1 and 3 of an extension unit.
test::Bytes configurationBytes() {
    const test::Bytes extensionUnit = test::descriptor(
        test::join({{0x24, 0x06, extension}, test::Bytes(16, 0xAA), {2, 1, unit, 1, 0x05, 0}}));
    return test::configuration({test::videoControl(0), test::header(0x0110),
                                test::cameraTerminal(terminal, {0x08, 0, 0}),
                                test::processingUnit(unit, terminal, {0x03, 0}), extensionUnit});
}

class CameraProbe : public ::testing::Test {
protected:
    CameraProbe() {
        camera.facts = UsbDeviceFacts{{test::deviceDescriptor(), configurationBytes()}, "Camera", 480};
    }

    void answer(std::uint8_t entity, std::uint8_t selector, UvcRequest request, RawAnswer answer) {
        camera.answers[{entity, selector, codeOf(request)}] = std::move(answer);
    }

    std::optional<CameraRecord> probe(std::optional<std::uint8_t> interface = std::nullopt) {
        testing::FakeInspectedDevice device(camera);
        return probeCamera(device, interface, {"1.0.0", "6.1.0"}, error);
    }

    static ControlRecord find(const CameraRecord& record, std::uint8_t entity, std::uint8_t selector) {
        const auto found = std::ranges::find_if(record.controls, [&](const ControlRecord& each) {
            return each.entity == entity && each.selector == selector;
        });
        return found != record.controls.end() ? *found : ControlRecord();
    }

    testing::InspectedDevice camera;
    Error error;
};

TEST_F(CameraProbe, RecordsWhoAskedWhatAndHow) {
    const auto record = probe();
    ASSERT_TRUE(record) << error.text;
    EXPECT_EQ(error.code, ErrorCode::none);
    EXPECT_EQ(record->program, "1.0.0");
    EXPECT_EQ(record->kernel, "6.1.0");
    EXPECT_EQ(record->transport, "usb");
    EXPECT_EQ(record->node, "/dev/video7");
    EXPECT_EQ(record->product, "Camera");
    EXPECT_EQ(record->speed, 480U);
    EXPECT_EQ(record->descriptors, camera.facts->descriptors);
}

TEST_F(CameraProbe, AsksEverythingOfEachListedControl) {
    const auto record = probe();
    ASSERT_TRUE(record);
    std::vector<std::pair<int, int>> listed;
    for (const ControlRecord& control : record->controls)
        if (control.listed) listed.emplace_back(control.entity, control.selector);
    EXPECT_THAT(listed, ::testing::ElementsAre(std::pair(3, 4), std::pair(5, 2), std::pair(5, 3),
                                               std::pair(7, 1), std::pair(7, 3)));
    EXPECT_EQ(camera.asked(terminal, 4), controlReads.size());
    for (const RawQuestion& question : camera.questions)
        EXPECT_NE(question.bRequest & 0x80, 0) << "a write";
}

TEST_F(CameraProbe, AsksForAsManyBytesAsTheCameraSays) {
    answer(unit, 2, UvcRequest::getLen, answered(4, 2));
    answer(unit, 3, UvcRequest::getLen, answered(0, 2));
    answer(extension, 1, UvcRequest::getLen, answered(300, 2));
    probe();
    const auto lengthOf = [&](std::uint8_t entity, std::uint8_t selector) {
        const auto found = std::ranges::find_if(camera.questions, [&](const RawQuestion& each) {
            return each.entity == entity && each.selector == selector &&
                   each.bRequest == codeOf(UvcRequest::getCur);
        });
        return found != camera.questions.end() ? int{found->wLength} : -1;
    };
    EXPECT_EQ(lengthOf(terminal, 4), 4); // the class's size, since GET_LEN stalls
    EXPECT_EQ(lengthOf(unit, 2), 4);
    EXPECT_EQ(lengthOf(unit, 3), 2);
    EXPECT_EQ(lengthOf(extension, 1), 300);
    EXPECT_EQ(lengthOf(extension, 3), -1); // nobody knows
}

TEST_F(CameraProbe, DoesNotAskForMoreThanARecordHolds) {
    answer(extension, 1, UvcRequest::getLen, answered(longestAnswer + 1, 2));
    const auto record = probe();
    EXPECT_EQ(find(*record, extension, 1).answerTo(UvcRequest::getCur).kind, AnswerKind::notAsked);
    answer(extension, 1, UvcRequest::getLen, answered(longestAnswer, 2));
    EXPECT_EQ(find(*probe(), extension, 1).answerTo(UvcRequest::getCur).kind, AnswerKind::stalled);
}

TEST_F(CameraProbe, RecordsUnlistedControlsOnlyIfTheyAnswer) {
    answer(unit, 7, UvcRequest::getInfo, answered({3}));
    const auto record = probe();
    const ControlRecord control = find(*record, unit, 7);
    EXPECT_FALSE(control.listed);
    EXPECT_EQ(control.answerTo(UvcRequest::getInfo), answered({3}));
    EXPECT_EQ(control.answerTo(UvcRequest::getCur).kind, AnswerKind::notAsked);
    EXPECT_EQ(camera.asked(unit, 7), 1U);
    EXPECT_EQ(record->controls.size(), 6U);
}

TEST_F(CameraProbe, AsksNothingUnlistedThroughADriver) {
    camera.source = AnswerSource::driver;
    const auto record = probe();
    EXPECT_EQ(record->controls.size(), 5U);
    EXPECT_EQ(record->controls[0].source, AnswerSource::driver);
    EXPECT_EQ(camera.asked(unit, 7), 0U);
}

TEST_F(CameraProbe, RecordsWhatTheDriverMakesOfIt) {
    camera.driver = {AnswerKind::answered, {{1, "Brightness", -1, 1, 1, 0, 0}}};
    EXPECT_EQ(find(*probe(), unit, 2).driver, camera.driver);
}

TEST_F(CameraProbe, StopsAskingAnEntityAfterTwoSilences) {
    answer(unit, 2, UvcRequest::getInfo, {AnswerKind::timedOut, {}});
    answer(unit, 2, UvcRequest::getMin, {AnswerKind::timedOut, {}});
    camera.driver = {AnswerKind::answered, {}};
    const auto record = probe();
    ASSERT_TRUE(record);
    const ControlRecord silent = find(*record, unit, 2);
    EXPECT_EQ(silent.answerTo(UvcRequest::getLen).kind, AnswerKind::stalled);
    EXPECT_EQ(silent.answerTo(UvcRequest::getMin).kind, AnswerKind::timedOut);
    EXPECT_EQ(silent.answerTo(UvcRequest::getMax).kind, AnswerKind::skipped);
    EXPECT_EQ(silent.driver.kind, AnswerKind::skipped);
    EXPECT_EQ(camera.asked(unit, 3), 0U);
    EXPECT_EQ(camera.asked(unit, 7), 0U);
    EXPECT_EQ(camera.asked(extension, 1), 2U);
}

TEST_F(CameraProbe, TheDriversSilenceCountsToo) {
    camera.driver = {AnswerKind::timedOut, {}};
    probe();
    EXPECT_GT(camera.asked(extension, 1), 0U);
    EXPECT_GT(camera.asked(extension, 3), 0U);
    EXPECT_GT(camera.asked(unit, 3), 0U);
    EXPECT_EQ(camera.asked(unit, 7), 0U); // two controls were listed
    EXPECT_EQ(camera.asked(terminal, 1), 1U);
}

TEST_F(CameraProbe, StopsAskingASilentCameraAltogether) {
    test::Bytes units;
    for (std::uint8_t id = 10; id < 30; ++id)
        units = test::join({units, test::processingUnit(id, terminal, {0x7F, 0})});
    camera.facts->descriptors.configuration =
        test::configuration({test::videoControl(0), test::header(0x0110), units});
    for (std::uint8_t id = 10; id < 30; ++id)
        for (std::uint8_t selector = 1; selector < 20; ++selector)
            for (const UvcRequest request : controlReads)
                answer(id, selector, request, {AnswerKind::timedOut, {}});
    ASSERT_TRUE(probe());
    EXPECT_EQ(camera.questions.size(), 8U);
}

TEST_F(CameraProbe, ACameraThatIsUnpluggedMeanwhileGivesNoRecord) {
    answer(unit, 2, UvcRequest::getMin, {AnswerKind::gone, {}});
    EXPECT_FALSE(probe());
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_EQ(camera.asked(unit, 3), 0U);
    EXPECT_EQ(camera.questions.back().bRequest, codeOf(UvcRequest::getMin));
}

TEST_F(CameraProbe, SaysWhyACameraCannotBeAsked) {
    camera.opens = false;
    EXPECT_FALSE(probe());
    EXPECT_THAT(error.text, HasSubstr("opened"));
    camera.facts->descriptors.configuration.clear();
    EXPECT_FALSE(probe());
    EXPECT_THAT(error.text, HasSubstr("no such video-control interface"));
    camera.facts.reset();
    EXPECT_FALSE(probe());
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_THAT(camera.questions, IsEmpty());
}

TEST_F(CameraProbe, AsksTheChosenVideoFunction) {
    camera.facts->descriptors.configuration =
        test::configuration({test::videoControl(0), test::header(0x0110), test::videoControl(2),
                             test::header(0x0110), test::processingUnit(9, 1, {0x01, 0})});
    const auto record = probe(2);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->controlInterface, 2);
    EXPECT_THAT(camera.opened, ::testing::ElementsAre(2));
    EXPECT_TRUE(find(*record, 9, 2).listed);
    EXPECT_FALSE(probe(1));
}

TEST_F(CameraProbe, HoldsNoMoreControlsThanARecordDoes) {
    test::Bytes units;
    for (std::uint8_t id = 1; id <= 10; ++id)
        units = test::join(
            {units,
             test::descriptor(test::join(
                 {{0x24, 0x06, id}, test::Bytes(16, 0xAA), {255, 1, 0, 32}, test::Bytes(32, 0xFF), {0}}))});
    camera.facts->descriptors.configuration =
        test::configuration({test::videoControl(0), test::header(0x0110), units});
    EXPECT_EQ(probe()->controls.size(), mostControlRecords);
}

TEST_F(CameraProbe, ShortensALongName) {
    camera.facts->product.assign(1000, 'x');
    EXPECT_EQ(probe()->product.size(), 256U);
}

} // namespace
} // namespace tavelo
