// SPDX-License-Identifier: MIT
#include "commands/control_state.h"

#include <gtest/gtest.h>

#include "support/bound_virtual_camera.h"

namespace tavelo {
namespace {

class ControlStateTest : public ::testing::Test {
protected:
    ControlState stateOf(std::string_view name) {
        return controlState(bound.manager, *controlNamed(name), true).value();
    }

    static std::string words(const ControlState& state) {
        std::string text;
        for (const ChoiceWord& each : state.choices)
            text += std::string(each.word) + " ";
        return text;
    }

    testing::BoundVirtualCamera bound;
};

TEST_F(ControlStateTest, ANumberHasRangeStepDefaultAndValue) {
    ASSERT_TRUE(bound.camera->setControlValue(control::iris, 300));
    bound.bind();
    const ControlState state = stateOf("iris");
    EXPECT_EQ(state.value, 300);
    EXPECT_EQ(state.minimum, 100);
    EXPECT_EQ(state.maximum, 1600);
    EXPECT_EQ(state.step, 20);
    EXPECT_EQ(state.defaultValue, 280);
    EXPECT_TRUE(state.choices.empty());
    EXPECT_EQ(state.automatic, nullptr);
}

TEST_F(ControlStateTest, PanAndTiltEachHaveTheirHalf) {
    ASSERT_TRUE(bound.camera->setControlValue(control::panTilt, packPanTilt(-3600, 7200)));
    bound.bind();
    EXPECT_EQ(stateOf("pan").value, -3600);
    EXPECT_EQ(stateOf("tilt").value, 7200);
    EXPECT_EQ(stateOf("tilt").minimum, -36000);
    EXPECT_EQ(stateOf("pan").maximum, 36000);
    EXPECT_EQ(stateOf("pan").step, 3600);
    EXPECT_EQ(stateOf("tilt").step, 3600);
}

TEST_F(ControlStateTest, WithoutAStepNothingIsAskedOfTheCamera) {
    bound.camera->clearRequestLog();
    EXPECT_FALSE(controlState(bound.manager, *controlNamed("iris"), false)->step);
    EXPECT_TRUE(bound.camera->requestLog().empty());
    EXPECT_TRUE(controlState(bound.manager, *controlNamed("iris"), true)->step);
    EXPECT_EQ(bound.camera->requestLog().size(), 1U);
}

TEST_F(ControlStateTest, AnUnansweredStepIsAbsent) {
    bound.camera->order({.kind = FaultKind::stall, .request = UvcRequest::getRes});
    EXPECT_FALSE(stateOf("iris").step);
    EXPECT_EQ(words(stateOf("auto-exposure-mode")), "manual auto shutter-priority aperture-priority ");
}

TEST_F(ControlStateTest, PowerLineChoicesEndAtTheCamerasMaximum) {
    EXPECT_EQ(words(stateOf("power-line-frequency")), "off 50hz 60hz ");
}

TEST(ControlStateChoices, ExposureModesAreThoseOfTheCameraAndTheOneInUse) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.exposureModes = uvc::manualExposure | uvc::aperturePriority;
    testing::BoundVirtualCamera bound(model);
    const auto state = controlState(bound.manager, *controlNamed("auto-exposure-mode"), true);
    ASSERT_EQ(state->choices.size(), 2U);
    EXPECT_EQ(state->choices[0].word, "manual");
    EXPECT_EQ(state->choices[1].word, "aperture-priority");
}

TEST_F(ControlStateTest, AnAutomaticNamesWhatItRulesAndTheOtherWayRound) {
    const ControlState automatic = stateOf("focus-auto");
    ASSERT_EQ(automatic.rules.size(), 1U);
    EXPECT_EQ(automatic.rules.front()->name, "focus");
    const ControlState manual = stateOf("focus");
    ASSERT_NE(manual.automatic, nullptr);
    EXPECT_EQ(manual.automatic->name, "focus-auto");
    EXPECT_TRUE(manual.isAutomatic);
    EXPECT_FALSE(stateOf("hue").isAutomatic) << "its automatic is off";
}

TEST(ControlStateRulers, AnAutomaticThatTheCameraLacksRulesNothing) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.terminalControls &= ~controlBit(control::autoFocus);
    testing::BoundVirtualCamera bound(model);
    const auto focus = controlState(bound.manager, *controlNamed("focus"), false);
    EXPECT_EQ(focus->automatic, nullptr);
    EXPECT_FALSE(focus->isAutomatic);
    EXPECT_FALSE(controlState(bound.manager, *controlNamed("focus-auto"), false));
}

TEST_F(ControlStateTest, AllControlsAreListedInTheTablesOrder) {
    const std::vector<ControlState> states = controlStates(bound.manager, {});
    ASSERT_EQ(states.size(), namedControls().size());
    for (std::size_t i = 0; i < states.size(); ++i)
        EXPECT_EQ(states[i].control, &namedControls()[i]);
}

} // namespace
} // namespace tavelo
