// SPDX-License-Identifier: MIT
#include "commands/control_change.h"

#include <gtest/gtest.h>

#include "support/bound_virtual_camera.h"

namespace tavelo {
namespace {

struct Parsed {
    const char* text;
    const char* control;
    ControlChange::Kind kind;
    double number;
};

class GoodChange : public ::testing::TestWithParam<Parsed> {};

TEST_P(GoodChange, IsUnderstood) {
    std::string reason;
    const auto change = parseControlChange(GetParam().text, controlNamed, reason);
    ASSERT_TRUE(change) << reason;
    EXPECT_EQ(change->control->name, GetParam().control);
    EXPECT_EQ(change->kind, GetParam().kind);
    EXPECT_EQ(change->number, GetParam().number);
}

using enum ControlChange::Kind;
INSTANTIATE_TEST_SUITE_P(
    ControlChange, GoodChange,
    ::testing::Values(Parsed{"brightness=12", "brightness", absolute, 12},
                      Parsed{"brightness=+5", "brightness", relative, 5},
                      Parsed{"brightness=-5", "brightness", relative, -5},
                      Parsed{"brightness==-5", "brightness", absolute, -5},
                      Parsed{"brightness=50%", "brightness", percent, 50},
                      Parsed{"zoom=12.5%", "zoom", percent, 12.5}, Parsed{"zoom=0%", "zoom", percent, 0},
                      Parsed{"zoom=100%", "zoom", percent, 100},
                      Parsed{"brightness=default", "brightness", defaultValue, 0},
                      Parsed{"brightness=DEFAULT", "brightness", defaultValue, 0},
                      Parsed{"power_line_frequency=50Hz", "power-line-frequency", absolute, 1},
                      Parsed{"power-line-frequency=2", "power-line-frequency", absolute, 2},
                      Parsed{"focus-auto=on", "focus-auto", absolute, 1},
                      Parsed{"focus-auto=yes", "focus-auto", absolute, 1},
                      Parsed{"focus-auto=false", "focus-auto", absolute, 0},
                      Parsed{"focus-auto=no", "focus-auto", absolute, 0},
                      Parsed{"focus-auto=true", "focus-auto", absolute, 1},
                      Parsed{"auto-exposure-mode=manual", "auto-exposure-mode", absolute, 1},
                      Parsed{"exposure-time=4294967295", "exposure-time", absolute, 4294967295.0}));

struct Wrong {
    const char* text;
    const char* reason;
};

class BadChange : public ::testing::TestWithParam<Wrong> {};

TEST_P(BadChange, IsRefusedWithAReason) {
    std::string reason;
    EXPECT_FALSE(parseControlChange(GetParam().text, controlNamed, reason));
    EXPECT_EQ(reason, GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    ControlChange, BadChange,
    ::testing::Values(
        Wrong{"brightness", "\"brightness\" is not NAME=VALUE"}, Wrong{"=5", "\"=5\" is not NAME=VALUE"},
        Wrong{"", "\"\" is not NAME=VALUE"},
        Wrong{"lightness=5", "no control is called \"lightness\" (taveloctl controls lists the names)"},
        Wrong{"brightness=", "brightness: \"\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=1.5", "brightness: \"1.5\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=nan", "brightness: \"nan\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=inf", "brightness: \"inf\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=4294967296",
              "brightness: \"4294967296\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=101%", "brightness: \"101%\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=-1%", "brightness: \"-1%\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=nan%", "brightness: \"nan%\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=+-5", "brightness: \"+-5\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=5 ", "brightness: \"5 \" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"brightness=on", "brightness: \"on\" is not a number, =-5, +5, -5, 50% or default"},
        Wrong{"focus-auto=+1", "focus-auto: \"+1\" is not off, on, its number or default"},
        Wrong{"focus-auto=50%", "focus-auto: \"50%\" is not off, on, its number or default"},
        Wrong{"power-line-frequency=yes",
              "power-line-frequency: \"yes\" is not off, 50hz, 60hz, auto, its number or default"}));

class ChangeTest : public ::testing::Test {
protected:
    /// Plans and writes; returns the writes as text, or why there are none.
    std::string change(std::initializer_list<const char*> texts, bool force = false) {
        std::string reason;
        std::vector<ControlChange> changes;
        for (const char* text : texts)
            changes.push_back(parseControlChange(text, controlNamed, reason).value());
        const auto plan = planChanges(bound.manager, changes, force, reason);
        if (!plan) return reason;
        std::string done;
        for (const PlannedWrite& each : *plan)
            done += std::string(each.control->name) + "=" + valueText(*each.control, each.value) +
                    (each.isForced ? "! " : " ") + (write(bound.manager, each) ? "" : "refused ");
        return done;
    }

    std::int64_t inCamera(ControlAddress address) { return bound.camera->controlValue(address).value(); }

    testing::BoundVirtualCamera bound;
};

TEST_F(ChangeTest, ANumberReachesTheCamera) {
    EXPECT_EQ(change({"brightness=12"}), "brightness=12 ");
    EXPECT_EQ(inCamera(control::brightness), 12);
    EXPECT_EQ(change({"brightness==-12"}), "brightness=-12 ");
    EXPECT_EQ(inCamera(control::brightness), -12);
}

TEST_F(ChangeTest, ARelativeNumberCountsFromTheCurrentValueAndStopsAtTheEnd) {
    change({"brightness=10"});
    EXPECT_EQ(change({"brightness=+5"}), "brightness=15 ");
    EXPECT_EQ(change({"brightness=-20"}), "brightness=-5 ");
    EXPECT_EQ(change({"brightness=+500"}), "brightness=64 ");
    EXPECT_EQ(change({"brightness=-500"}), "brightness=-64 ");
}

TEST_F(ChangeTest, RelativeNumbersOfOneCallAddUp) {
    EXPECT_EQ(change({"brightness=+5", "brightness=+5"}), "brightness=5 brightness=10 ");
}

TEST_F(ChangeTest, APercentageIsOfTheRange) {
    EXPECT_EQ(change({"zoom=0%"}), "zoom=100 ");
    EXPECT_EQ(change({"zoom=50%"}), "zoom=250 ");
    EXPECT_EQ(change({"zoom=100%"}), "zoom=400 ");
    EXPECT_EQ(change({"brightness=50%"}), "brightness=0 ");
}

TEST_F(ChangeTest, TheDefaultIsTheCameras) {
    change({"contrast=7"});
    EXPECT_EQ(change({"contrast=default"}), "contrast=32 ");
    EXPECT_EQ(inCamera(control::contrast), 32);
    EXPECT_EQ(change({"scanning-mode=default"}), "scanning-mode: the camera names no default");
}

TEST_F(ChangeTest, HalvesMoveApart) {
    EXPECT_EQ(change({"pan=3600", "tilt==-7200"}), "pan=3600 tilt=-7200 ");
    EXPECT_EQ(inCamera(control::panTilt), packPanTilt(3600, -7200));
    change({"pan=-3600"});
    EXPECT_EQ(inCamera(control::panTilt), packPanTilt(0, -7200));
}

TEST_F(ChangeTest, AValueOutOfRangeIsRefusedWithTheRange) {
    EXPECT_EQ(change({"brightness=65"}), "brightness: 65 is not possible: it goes from -64 to 64");
    EXPECT_EQ(change({"brightness==-65"}), "brightness: -65 is not possible: it goes from -64 to 64");
    EXPECT_EQ(change({"brightness=64"}), "brightness=64 ");
    EXPECT_EQ(change({"power-line-frequency=auto"}),
              "power-line-frequency: auto is not possible: it is one of off, 50hz, 60hz");
}

TEST_F(ChangeTest, AnAutomaticControlIsNamedIfItRules) {
    EXPECT_EQ(change({"focus=50"}),
              "focus: focus-auto sets it; turn that off with focus-auto=off, or use --force");
    EXPECT_EQ(
        change({"exposure-time=50"}),
        "exposure-time: auto-exposure-mode sets it; turn that off with auto-exposure-mode=manual, or use "
        "--force");
}

TEST_F(ChangeTest, ForceTurnsTheAutomaticOffFirst) {
    EXPECT_EQ(change({"focus=50"}, true), "focus-auto=off! focus=50 ");
    EXPECT_EQ(inCamera(control::autoFocus), 0);
    EXPECT_EQ(inCamera(control::focus), 50);
    EXPECT_EQ(change({"hue=100"}, true), "hue=100 ") << "its automatic is off already";
}

TEST_F(ChangeTest, AnEarlierChangeOfTheSameCallMayFreeOrBindTheControl) {
    EXPECT_EQ(change({"focus-auto=off", "focus=50"}), "focus-auto=off focus=50 ");
    EXPECT_EQ(change({"hue-auto=on", "hue=100"}),
              "hue: hue-auto sets it; turn that off with hue-auto=off, or use --force");
}

TEST_F(ChangeTest, IfOneChangeIsWrongNoneIsMade) {
    bound.camera->clearRequestLog();
    EXPECT_EQ(change({"contrast=7", "brightness=65"}),
              "brightness: 65 is not possible: it goes from -64 to 64");
    EXPECT_EQ(inCamera(control::contrast), 32);
}

TEST_F(ChangeTest, ARefusedWriteIsReported) {
    bound.camera->order(
        {.kind = FaultKind::stall, .control = control::contrast, .direction = FaultDirection::writes});
    EXPECT_EQ(change({"contrast=7"}), "contrast=7 refused ");
}

TEST(ChangeOfOtherCameras, AMissingControlIsNamed) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.unitControls &= ~controlBit(control::gamma);
    testing::BoundVirtualCamera bound(model);
    std::string reason;
    const ControlChange change = parseControlChange("gamma=100", controlNamed, reason).value();
    EXPECT_FALSE(planChanges(bound.manager, {&change, 1}, false, reason));
    EXPECT_EQ(reason, "the camera has no gamma (taveloctl controls lists what it has)");
}

} // namespace
} // namespace tavelo
