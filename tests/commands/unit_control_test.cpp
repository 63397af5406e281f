// SPDX-License-Identifier: MIT
#include "commands/unit_control.h"

#include <gmock/gmock.h>

#include "commands/control_change.h"
#include "described_controls.h"
#include "support/bound_virtual_camera.h"
#include "support/intercepted_usb.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;

class UnitControl : public ::testing::Test {
protected:
    explicit UnitControl(std::vector<ExtensionControl> controls = describedControls())
        : catalog(std::move(controls)) {}

    const NamedControl& named(std::string_view name) { return *catalog.find(name, nullptr); }
    std::optional<ControlState> state(std::string_view name, bool withRange = true) {
        return controlState(bound.manager, named(name), withRange);
    }

    /// The planned writes as texts; or the reason why there are none.
    std::string plan(const std::vector<std::string>& texts) {
        const auto find = [this](std::string_view name) { return catalog.find(name, nullptr); };
        std::string reason;
        std::vector<ControlChange> changes;
        for (const std::string& text : texts) {
            const auto change = parseControlChange(text, find, reason);
            if (!change) return reason;
            changes.push_back(*change);
        }
        const auto planned = planChanges(bound.manager, changes, false, reason);
        if (!planned) return reason;
        std::string done;
        for (const PlannedWrite& each : *planned)
            done += std::string(each.control->name) + "=" + valueText(*each.control, each.value) + " ";
        return done;
    }

    std::size_t writes() {
        std::size_t count = 0;
        for (const RequestRecord& request : bound.camera->requestLog())
            count += request.setup.bRequest == codeOf(UvcRequest::setCur) ? 1 : 0;
        return count;
    }

    testing::BoundVirtualCamera bound;
    const ControlCatalog catalog;
};

// With a description that does not fit the camera, and one that says more than the camera.
class OtherDescription : public UnitControl {
protected:
    OtherDescription() : UnitControl(controls()) {}

    static std::vector<ExtensionControl> controls() {
        std::vector<ExtensionControl> all{
            describedNumber("longer", 1, 3, {0, 8, false}), describedNumber("elsewhere", 1, 2, {0, 8, false}),
            describedNumber("unlisted", 9, 2, {0, 8, false}), describedNumber("told", 1, 2, {8, 8, false})};
        all[1].unit = {1};
        all[3].minimum = 5;
        all[3].maximum = 50;
        all[3].step = 5;
        all[3].defaultValue = 20;
        all.push_back(describedNumber("rangeless", 2, 1, {2, 4, false})); // these bits are 0 in all answers
        return all;
    }
};

TEST_F(UnitControl, TheStateIsReadFromTheCamera) {
    const auto lamp = state("lamp-mode");
    ASSERT_TRUE(lamp);
    EXPECT_EQ(lamp->value, 0);
    EXPECT_EQ(lamp->defaultValue, 0);
    EXPECT_EQ(lamp->choices.size(), 3U);
    EXPECT_FALSE(lamp->minimum || lamp->maximum || lamp->step) << "a choice has no range";
    const auto warmth = state("warmth");
    ASSERT_TRUE(warmth);
    EXPECT_EQ(warmth->minimum, -10);
    EXPECT_EQ(warmth->maximum, 10);
    EXPECT_EQ(warmth->step, 1);
    EXPECT_EQ(warmth->defaultValue, 0);
    EXPECT_EQ(warmth->lowest, -16);
    EXPECT_EQ(warmth->highest, 15);
    EXPECT_EQ(state("hdr")->choices.size(), 2U);
}

TEST_F(UnitControl, TheRangeIsAskedForOnlyIfItIsWanted) {
    bound.camera->clearRequestLog();
    EXPECT_FALSE(state("warmth", false)->minimum);
    EXPECT_EQ(bound.camera->requestLog().size(), 3U) << "length, abilities, value";
}

TEST_F(UnitControl, AllStatesAreThoseOfTheClassAndOfTheUnit) {
    const auto states = controlStates(bound.manager, catalog);
    ASSERT_EQ(states.size(), namedControls().size() + 4);
    EXPECT_EQ(states.back().control->name, "warmth");
}

TEST_F(UnitControl, AWriteChangesItsBitsOnly) {
    EXPECT_EQ(write(bound.manager, {&named("warmth"), -3}), -3);
    EXPECT_EQ(write(bound.manager, {&named("hdr"), 1}), 1);
    EXPECT_EQ(write(bound.manager, {&named("lamp-frequency"), 99}), 99);
    EXPECT_EQ(write(bound.manager, {&named("lamp-mode"), 2}), 2);
    EXPECT_EQ(state("warmth")->value, -3);
    EXPECT_EQ(state("hdr")->value, 1);
    EXPECT_EQ(state("lamp-frequency")->value, 99);
    EXPECT_EQ(state("lamp-mode")->value, 2);
}

TEST_F(UnitControl, AWriteThatTheCameraRefusesIsNone) {
    EXPECT_FALSE(write(bound.manager, {&named("lamp-frequency"), 201}));
    EXPECT_EQ(bound.manager.failure(), ErrorCode::refused);
    ASSERT_TRUE(bound.manager.openInterfaceAgain());
    EXPECT_EQ(state("lamp-frequency")->value, 10);
}

TEST_F(UnitControl, ChangesAreWrittenAsForAnyControl) {
    EXPECT_EQ(plan({"lamp-mode=blink", "brightness=5", "lamp_frequency=50%", "hdr=yes"}),
              "lamp-mode=blink brightness=5 lamp-frequency=101 hdr=on ");
    EXPECT_EQ(plan({"lamp-frequency=+5"}), "lamp-frequency=15 ");
    EXPECT_EQ(plan({"lamp-frequency=-500"}), "lamp-frequency=1 ") << "up to the end of the range";
    EXPECT_EQ(plan({"warmth==-5", "warmth=-1"}), "warmth=-5 warmth=-6 ");
    EXPECT_EQ(plan({"lamp-frequency=default"}), "lamp-frequency=10 ");
    EXPECT_EQ(plan({"lamp-mode=1"}), "lamp-mode=on ");
    EXPECT_EQ(writes(), 0U);
}

TEST_F(UnitControl, WhatIsNotPossibleIsRefusedInWords) {
    EXPECT_EQ(plan({"lamp-mode=dim"}), "lamp-mode: \"dim\" is not off, on, blink, its number or default");
    EXPECT_EQ(plan({"lamp-mode=3"}), "lamp-mode: 3 is not possible: it is one of off, on, blink");
    EXPECT_EQ(plan({"lamp-mode=+1"}), "lamp-mode: \"+1\" is not off, on, blink, its number or default");
    EXPECT_EQ(plan({"lamp-frequency=201"}), "lamp-frequency: 201 is not possible: it goes from 1 to 200");
    EXPECT_EQ(plan({"warmth==-11"}), "warmth: -11 is not possible: it goes from -10 to 10");
}

TEST_F(OtherDescription, SaysMoreThanTheCameraAndIsBelieved) {
    bound.camera->clearRequestLog();
    const auto told = state("told");
    ASSERT_TRUE(told);
    EXPECT_EQ(told->minimum, 5);
    EXPECT_EQ(told->maximum, 50);
    EXPECT_EQ(told->step, 5);
    EXPECT_EQ(told->defaultValue, 20);
    EXPECT_EQ(bound.camera->requestLog().size(), 3U) << "nothing is asked that the description says";
}

TEST_F(OtherDescription, ThatDoesNotFitIsToldWhy) {
    const auto reason = [this](const char* name) {
        EXPECT_FALSE(state(name));
        return absenceText(bound.manager, named(name));
    };
    EXPECT_EQ(reason("longer"), "longer: its value has 2 bytes in this camera, and 3 in its description");
    EXPECT_EQ(reason("elsewhere"), "the camera has no elsewhere");
    EXPECT_EQ(reason("unlisted"), "the camera has no unlisted");
    EXPECT_EQ(plan({"longer=5"}),
              "longer: its value has 2 bytes in this camera, and 3 in its description "
              "(taveloctl controls lists what it has)");
    EXPECT_FALSE(write(bound.manager, {&named("elsewhere"), 1}));
}

TEST_F(OtherDescription, WithoutARangeAValueMustFitIntoTheBits) {
    EXPECT_FALSE(state("rangeless")->minimum || state("rangeless")->maximum);
    EXPECT_FALSE(state("rangeless")->step) << "the camera answers 0";
    EXPECT_EQ(plan({"rangeless=15"}), "rangeless=15 ");
    EXPECT_EQ(plan({"rangeless=16"}),
              "rangeless: 16 is not possible: the camera names no range, and it holds 0 to 15");
    EXPECT_EQ(plan({"rangeless=+99"}), "rangeless=15 ");
    EXPECT_EQ(plan({"rangeless=50%"}), "rangeless: the camera names no range, so it has no percentage");
}

// Answers to a unit may be changed on their way.
class InterceptedUnit : public UnitControl {
protected:
    InterceptedUnit() {
        bound.manager.releasePlatform(); // it is moved into this one's
        manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
        manager.refreshDataWithLocationID({.locationIDs = {bound.camera->model().locationID}});
    }

    void change(UvcRequest asked, std::function<void(UsbControlRequest& answer)> how) {
        usb.setHooks(
            {.after = [asked, how = std::move(how)](UsbControlRequest& request, ErrorCode& /*code*/) {
                if (request.bRequest == codeOf(asked)) how(request);
            }});
    }
    /// Why the control cannot be set to this; empty if it can.
    std::string refusal(double value) {
        const ControlChange change{&named("warmth"), ControlChange::Kind::absolute, value};
        std::string reason;
        planChanges(manager, std::span(&change, 1), false, reason);
        return reason;
    }

    testing::InterceptedUsb usb{std::move(bound.backend.usb)};
    KTUVCManager manager{KTUVCEnvironment{.usb = &usb}};
};

TEST_F(InterceptedUnit, OneEndThatTheCameraNamesLimitsAndTheBitsDoTheRest) {
    const auto refuse = [](UsbControlRequest& answer) { answer.bytesDone = 0; };
    change(UvcRequest::getMax, refuse);
    const auto state = controlState(manager, named("warmth"), true);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->minimum, -10);
    EXPECT_FALSE(state->maximum);
    EXPECT_EQ(refusal(15), "");
    EXPECT_EQ(refusal(-11), "warmth: -11 is not possible: it goes from -10 to 15");
    change(UvcRequest::getMin, refuse);
    EXPECT_EQ(refusal(-16), "");
    EXPECT_EQ(refusal(11), "warmth: 11 is not possible: it goes from -16 to 10");
}

TEST_F(InterceptedUnit, AControlThatIsReadOnlyIsToldSo) {
    change(UvcRequest::getInfo, [](UsbControlRequest& answer) { answer.data[0] = uvc::infoGet; });
    EXPECT_FALSE(controlState(manager, named("warmth"), true));
    EXPECT_EQ(absenceText(manager, named("warmth")), "warmth: the camera does not let it be read and set");
    EXPECT_NE(refusal(1), "");
}

TEST_F(UnitControl, ACameraThatDoesNotAnswerIsTheReason) {
    bound.camera->vanish();
    EXPECT_FALSE(state("lamp-mode"));
    EXPECT_EQ(absenceText(bound.manager, named("lamp-mode")), "lamp-mode: the camera does not answer");
}

TEST_F(UnitControl, ACameraWithoutTheUnitSimplyLacksIt) {
    VirtualCameraModel model = virtualCameraModel(2);
    model.extensionUnitID = 0;
    testing::BoundVirtualCamera other(model);
    EXPECT_FALSE(controlState(other.manager, named("lamp-mode"), true));
    EXPECT_EQ(absenceText(other.manager, named("lamp-mode")), "the camera has no lamp-mode");
    EXPECT_EQ(controlStates(other.manager, catalog).size(), namedControls().size());
}

} // namespace
} // namespace tavelo
