// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_inspector.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>

#include "descriptor_builder.h"
#include "fake_control_node.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint8_t terminal = 3;
constexpr std::uint8_t unit = 5;
constexpr std::uint8_t extension = 7;

class KernelInspectorTest : public ::testing::Test {
protected:
    KernelInspectorTest() { node->controls = everyControl(); }

    RawAnswer ask(std::uint8_t entity, std::uint8_t selector, UvcRequest request, std::uint16_t length = 2) {
        return inspector.ask({entity, selector, codeOf(request), length});
    }

    std::shared_ptr<FakeControlNode> node = std::make_shared<FakeControlNode>();
    KernelInspector inspector{node, "/dev/video3", videoFunctionOf(ordinaryCamera(), 0)};
};

TEST_F(KernelInspectorTest, TellsItsTransportAndItsNode) {
    EXPECT_EQ(inspector.transport(), "kernel");
    EXPECT_EQ(inspector.node(), "/dev/video3");
}

TEST_F(KernelInspectorTest, TheDriverAnswersForTheTerminalAndTheUnitOnly) {
    EXPECT_EQ(inspector.sourceOf(terminal), AnswerSource::driver);
    EXPECT_EQ(inspector.sourceOf(unit), AnswerSource::driver);
    EXPECT_EQ(inspector.sourceOf(extension), AnswerSource::camera);
}

TEST_F(KernelInspectorTest, ReadsAControlThroughItsV4l2Control) {
    EXPECT_EQ(ask(unit, 2, UvcRequest::getMin), (RawAnswer{AnswerKind::answered, {0xC0, 0xFF}}));
    EXPECT_EQ(ask(unit, 2, UvcRequest::getCur, 1), (RawAnswer{AnswerKind::answered, {0xFD}}));
}

TEST_F(KernelInspectorTest, WhatTheDriverDoesNotAskIsNotAsked) {
    EXPECT_EQ(ask(terminal, 1, UvcRequest::getCur).kind, AnswerKind::notAsked); // not mapped
    EXPECT_EQ(ask(terminal, 8, UvcRequest::getMin).kind, AnswerKind::notAsked); // a switch
    node->controls.erase(V4L2_CID_BRIGHTNESS);
    EXPECT_EQ(ask(unit, 2, UvcRequest::getCur).kind, AnswerKind::notAsked);
}

TEST_F(KernelInspectorTest, TellsRefusalSilenceAndAbsenceApart) {
    struct Case {
        int error;
        AnswerKind kind;
    };
    for (const Case& each : {Case{EPIPE, AnswerKind::stalled}, Case{EIO, AnswerKind::stalled},
                             Case{ETIMEDOUT, AnswerKind::timedOut}, Case{ENODEV, AnswerKind::gone},
                             Case{ENOMEM, AnswerKind::failed}}) {
        node->controls[V4L2_CID_BRIGHTNESS].getError = each.error;
        EXPECT_EQ(ask(unit, 2, UvcRequest::getCur), (RawAnswer{each.kind, {}})) << each.error;
    }
}

TEST_F(KernelInspectorTest, AsksAnExtensionUnitItself) {
    node->units[{extension, 4, codeOf(UvcRequest::getCur)}] = {{1, 2, 3}};
    EXPECT_EQ(ask(extension, 4, UvcRequest::getCur, 3), (RawAnswer{AnswerKind::answered, {1, 2, 3}}));
}

TEST_F(KernelInspectorTest, TellsWhyAnExtensionUnitDidNotAnswer) {
    auto& answer = node->units[{extension, 4, codeOf(UvcRequest::getCur)}];
    answer.bytes = {1, 2};
    struct Case {
        int error;
        AnswerKind kind;
    };
    for (const Case& each : {Case{EPIPE, AnswerKind::stalled}, Case{EREMOTE, AnswerKind::stalled},
                             Case{ETIMEDOUT, AnswerKind::timedOut}, Case{ENODEV, AnswerKind::gone},
                             Case{ENOENT, AnswerKind::notAsked}, Case{EBADRQC, AnswerKind::notAsked},
                             Case{ENOTTY, AnswerKind::notAsked}, Case{ENOMEM, AnswerKind::failed}}) {
        answer.error = each.error;
        EXPECT_EQ(ask(extension, 4, UvcRequest::getCur), (RawAnswer{each.kind, {}})) << each.error;
    }
    answer.error = 0;
    EXPECT_EQ(ask(extension, 4, UvcRequest::getCur, 3).kind, AnswerKind::notAsked); // another length
    EXPECT_EQ(ask(extension, 4, UvcRequest::getCur, 0).kind, AnswerKind::notAsked);
    EXPECT_EQ(ask(extension, 5, UvcRequest::getCur).kind, AnswerKind::notAsked);
}

TEST_F(KernelInspectorTest, TellsTheDriversControl) {
    node->name = "Bright\x1b[m";
    const DriverView view = inspector.driverView(unit, 2);
    EXPECT_EQ(view.kind, AnswerKind::answered);
    EXPECT_THAT(view.controls,
                ElementsAre(DriverControl{V4L2_CID_BRIGHTNESS, "Bright?[m", -64, 64, 1, -3, 0}));
}

TEST_F(KernelInspectorTest, TheNameOfAControlNeedsNoEnd) {
    node->name.assign(40, 'x');
    EXPECT_EQ(inspector.driverView(unit, 2).controls.at(0).name, std::string(32, 'x'));
}

TEST_F(KernelInspectorTest, TellsBothControlsOfAPair) {
    EXPECT_THAT(inspector.driverView(terminal, 13).controls, SizeIs(2));
    node->controls.erase(V4L2_CID_TILT_ABSOLUTE);
    EXPECT_THAT(inspector.driverView(terminal, 13).controls, SizeIs(1));
}

TEST_F(KernelInspectorTest, KnowsWhatTheDriverMapsBeyondThePanel) {
    node->controls[V4L2_CID_PRIVACY] = {};
    node->controls[V4L2_CID_RED_BALANCE] = {};
    node->controls[V4L2_CID_BLUE_BALANCE] = {};
    node->controls[V4L2_CID_PAN_SPEED] = {};
    node->controls[V4L2_CID_TILT_SPEED] = {};
    node->controls[V4L2_CID_ZOOM_CONTINUOUS] = {};
    node->controls[V4L2_CID_IRIS_RELATIVE] = {};
    EXPECT_EQ(inspector.driverView(terminal, 17).controls.at(0).id, V4L2_CID_PRIVACY);
    EXPECT_THAT(inspector.driverView(unit, 12).controls, SizeIs(2));
    EXPECT_THAT(inspector.driverView(terminal, 14).controls, SizeIs(2));
    EXPECT_EQ(inspector.driverView(terminal, 12).controls.at(0).id, V4L2_CID_ZOOM_CONTINUOUS);
    EXPECT_EQ(inspector.driverView(terminal, 10).controls.at(0).id, V4L2_CID_IRIS_RELATIVE);
    EXPECT_EQ(inspector.driverView(unit, 13).controls.at(0).id, V4L2_CID_AUTO_WHITE_BALANCE);
}

TEST_F(KernelInspectorTest, AMissingMappingIsAnAnswerAndAForeignUnitIsNone) {
    EXPECT_EQ(inspector.driverView(terminal, 1), (DriverView{AnswerKind::answered, {}}));
    EXPECT_EQ(inspector.driverView(extension, 1), (DriverView{AnswerKind::notAsked, {}}));
    node->controls[V4L2_CID_BRIGHTNESS].queryError = ETIMEDOUT;
    EXPECT_EQ(inspector.driverView(unit, 2), (DriverView{AnswerKind::timedOut, {}}));
}

TEST_F(KernelInspectorTest, WritesNothing) {
    for (int selector = 1; selector < 256; ++selector)
        for (const std::uint8_t entity : {terminal, unit, extension})
            ask(entity, static_cast<std::uint8_t>(selector), UvcRequest::getCur);
    EXPECT_THAT(node->writes(), IsEmpty());
    EXPECT_EQ(ask(unit, 2, UvcRequest::setCur).kind, AnswerKind::notAsked);
}

} // namespace
} // namespace tavelo::test
