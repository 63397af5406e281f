// SPDX-License-Identifier: MIT
// The panel while other programs, or the camera itself, change its controls.
#include <QSignalSpy>

#include "integration/main_thread_watch.h"
#include "integration/panel_fixture.h"
#include "panel/automatic_functions.h"
#include "platform/virtual/control_interface.h"
#include "support/untold_interface.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PanelFollowing : public PanelTest {
protected:
    void startAndFollow(int cameras) {
        start(cameras);
        QObject::connect(&panel(), &ViewController::controlChanged, &panel(),
                         [this](KTUVCControl control) { told_.push_back(control); });
        expectToFollow(1);
    }

    /// Another program changes the sharpness until the panel shows that.
    void expectToFollow(int number) {
        ASSERT_TRUE(waitFor([&] {
            camera(number)->setControlValue(control::sharpness, 7);
            return view().sharpnessValueText()->text() == u"7";
        }));
        camera(number)->setControlValue(control::sharpness, 5);
        ASSERT_TRUE(waitFor([&] { return view().sharpnessValueText()->text() == u"5"; }));
        std::erase(told_, KTUVCControl::sharpness);
    }

    std::vector<KTUVCControl> told_;
};

TEST_F(PanelFollowing, SliderAndLabelShowWhatAnotherProgramWrote) {
    startAndFollow(1);
    camera(1)->setControlValue(control::brightness, 33);
    ASSERT_TRUE(waitFor([this] { return view().brightnessValueText()->text() == u"33"; }));
    EXPECT_EQ(view().brightnessSlider()->intValue(), 33);
    camera(1)->setControlValue(control::panTilt, packPanTilt(-7200, 10800));
    ASSERT_TRUE(waitFor([this] { return view().panLeftRightValueText()->text() == u"-2"; }));
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), -2);
    EXPECT_EQ(view().panUpDownSlider()->intValue(), 3);
    EXPECT_EQ(view().panUpDownValueText()->text(), u"3");
}

TEST_F(PanelFollowing, ThePowerLineButtonsFollow) {
    startAndFollow(1);
    camera(1)->setControlValue(control::powerLine, 2);
    EXPECT_TRUE(waitFor([this] { return view().hz60Button()->check(); }));
    EXPECT_FALSE(view().hz50Button()->check());
}

TEST_F(PanelFollowing, AChangeIsToldOnce) {
    startAndFollow(1);
    QSignalSpy records(&panel(), &ViewController::recordChanged);
    camera(1)->setControlValue(control::brightness, 33);
    ASSERT_TRUE(waitFor([this] { return view().brightnessValueText()->text() == u"33"; }));
    EXPECT_THAT(told_, ElementsAre(KTUVCControl::bright));
    EXPECT_EQ(records.size(), 1);
}

TEST_F(PanelFollowing, TheUsersOwnDragIsToldOnceForEachValueAndDoesNotComeBack) {
    startAndFollow(1);
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    move(slider, 0.5);
    release(slider, 0.5);
    expectToFollow(1);
    EXPECT_THAT(told_, ElementsAre(KTUVCControl::bright, KTUVCControl::bright, KTUVCControl::bright));
    EXPECT_EQ(slider->intValue(), 0);
}

TEST_F(PanelFollowing, ASliderUnderTheUsersHandStays) {
    startAndFollow(1);
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    camera(1)->setControlValue(control::brightness, 20);
    ASSERT_TRUE(waitFor([this] { return view().brightnessValueText()->text() == u"20"; }));
    EXPECT_EQ(slider->intValue(), -64);
    EXPECT_TRUE(slider->isHeld());
    release(slider, 0);
    EXPECT_EQ(slider->intValue(), -64);
    EXPECT_EQ(camera(1)->controlValue(control::brightness), -64) << "the user's value is the last one";
    EXPECT_EQ(view().brightnessValueText()->text(), u"-64");
}

TEST_F(PanelFollowing, ASliderThatIsLetGoWithoutAValueShowsTheNewest) {
    startAndFollow(1);
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    camera(1)->setControlValue(control::brightness, 20);
    ASSERT_TRUE(waitFor([this] { return view().brightnessValueText()->text() == u"20"; }));
    slider->cancelDrag();
    EXPECT_EQ(slider->intValue(), 20);
}

TEST_F(PanelFollowing, ADragAfterTheChangeIsNotUndoneWhenItIsCancelled) {
    startAndFollow(1);
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    camera(1)->setControlValue(control::brightness, 20);
    ASSERT_TRUE(waitFor([this] { return view().brightnessValueText()->text() == u"20"; }));
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::brightness, .direction = FaultDirection::writes});
    move(slider, 1);
    slider->cancelDrag();
    EXPECT_EQ(slider->intValue(), 64) << "a refused value stays where the user left it";
}

TEST_F(PanelFollowing, TheOtherHalfOfPanAndTiltFollowsWhileOneIsHeld) {
    startAndFollow(1);
    press(view().panLeftRightSlider(), 0.5);
    camera(1)->setControlValue(control::panTilt, packPanTilt(3600, 7200));
    ASSERT_TRUE(waitFor([this] { return view().panUpDownValueText()->text() == u"2"; }));
    EXPECT_EQ(view().panUpDownSlider()->intValue(), 2);
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 0);
    move(view().panLeftRightSlider(), 0.75);
    release(view().panLeftRightSlider(), 0.75);
    EXPECT_EQ(camera(1)->controlValue(control::panTilt), packPanTilt(18000, 7200));
}

TEST_F(PanelFollowing, FollowsAfterARefusedValue) {
    startAndFollow(1);
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::brightness, .direction = FaultDirection::writes});
    click(view().brightnessSlider());
    camera(1)->clearFaults();
    expectToFollow(1);
}

TEST_F(PanelFollowing, FollowsTheShownCameraOnly) {
    startAndFollow(2);
    click(view().camera2Button());
    expectToFollow(2);
    camera(1)->setControlValue(control::brightness, 33);
    camera(2)->setControlValue(control::contrast, 9);
    ASSERT_TRUE(waitFor([this] { return view().contrastValueText()->text() == u"9"; }));
    EXPECT_EQ(view().brightnessValueText()->text(), u"0");
    EXPECT_THAT(told_, ElementsAre(KTUVCControl::contrast));
}

TEST_F(PanelFollowing, FollowsACameraThatIsPluggedInAgain) {
    startAndFollow(1);
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return !view().brightnessSlider()->isEnabled(); }));
    plug(1);
    ASSERT_TRUE(waitFor([this] { return view().brightnessSlider()->isEnabled(); }));
    expectToFollow(1);
}

TEST_F(PanelFollowing, NothingIsStoredUntilTheUserSavesAndThenTheCamerasValueIs) {
    startAndFollow(1);
    panel().setProfileIndex(1);
    const PreferencesDictionary before = storedProfile(1);
    camera(1)->setControlValue(control::brightness, 33);
    ASSERT_TRUE(waitFor([this] { return view().brightnessValueText()->text() == u"33"; }));
    EXPECT_EQ(storedProfile(1), before);
    EXPECT_EQ(panel().profileIndex(), 1);
    PreferencesDictionary saved = before;
    camera_settings::storeCurrent(saved, manager_, false);
    EXPECT_EQ(camera_settings::integer(saved, "kNSUserDefaultsKeyBrightness"), 33);
}

TEST_F(PanelFollowing, ACameraThatTellsNothingIsReadInTheBackgroundWhenTheWindowIsActivated) {
    startAndFollow(1);
    // The former interface's watch ends, and the panel follows the new one.
    manager_.setInterface(
        std::make_shared<testing::UntoldInterface>(std::make_shared<VirtualControlInterface>(camera(1), 0)));
    camera(1)->setControlValue(control::brightness, 33);
    const OwnRequests own(camera(1));
    ASSERT_TRUE(waitFor([this] {
        QEvent activated(QEvent::WindowActivate);
        QCoreApplication::sendEvent(&view(), &activated);
        return view().brightnessValueText()->text() == u"33";
    }));
    EXPECT_EQ(view().brightnessSlider()->intValue(), 33);
    EXPECT_EQ(own.count(), 0U);
}

TEST_F(PanelFollowing, ASliderWhoseAutomaticIsSwitchedOffShowsWhatTheCameraChoseMeanwhile) {
    startAndFollow(1);
    manager_.setInterface(
        std::make_shared<testing::UntoldInterface>(std::make_shared<VirtualControlInterface>(camera(1), 0)));
    const AutomaticFunction* const whiteBalance = automaticFunctionOf(KTUVCControl::whiteBalance);
    panel().setAutomatic(*whiteBalance, true);
    camera(1)->setControlValue(control::whiteBalance, 5400);
    told_.clear();
    panel().setAutomatic(*whiteBalance, false);
    EXPECT_EQ(view().whiteBalanceSlider()->intValue(), 5400);
    EXPECT_THAT(told_, ElementsAre(whiteBalance->automatic, whiteBalance->manual));
    told_.clear();
    panel().setAutomatic(*whiteBalance, true);
    panel().setAutomatic(*whiteBalance, false);
    EXPECT_THAT(told_, ElementsAre(whiteBalance->automatic, whiteBalance->automatic));
}

TEST_F(PanelFollowing, AnotherPartOfTheProgramWritesAsASliderDoes) {
    startAndFollow(1);
    QSignalSpy records(&panel(), &ViewController::recordChanged);
    const auto write = [](KTUVCManager& manager) {
        bool isTaken = false;
        manager.setBrightWithComplitionHandle(12, [&](bool success) { isTaken = success; });
        return isTaken;
    };
    EXPECT_TRUE(panel().writeControl(KTUVCControl::bright, false, write));
    EXPECT_EQ(view().brightnessSlider()->intValue(), 12);
    EXPECT_THAT(told_, ElementsAre(KTUVCControl::bright));
    EXPECT_EQ(records.size(), 1);
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::brightness, .direction = FaultDirection::writes});
    EXPECT_FALSE(panel().writeControl(KTUVCControl::bright, false, write));
    EXPECT_TRUE(manager_.interfaceIsClosed());
    camera(1)->clearFaults();
    EXPECT_TRUE(panel().writeControl(KTUVCControl::bright, false, write)) << "opened again";
    EXPECT_EQ(records.size(), 2);
}

TEST_F(PanelFollowing, AWalkOverAllControlsShowsWhatItChanged) {
    startAndFollow(1);
    QSignalSpy ends(&panel(), &ViewController::controlWalkEnded);
    view().contrastSlider()->choose(60);
    told_.clear();
    panel().walkControls(ControlWalk::heldValues);
    ASSERT_TRUE(waitFor([&] { return ends.size() == 1; }));
    EXPECT_THAT(told_, IsEmpty());
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 60);
    panel().walkControls(ControlWalk::defaults);
    ASSERT_TRUE(waitFor([&] { return ends.size() == 2; }));
    EXPECT_THAT(told_, ElementsAre(KTUVCControl::contrast));
    EXPECT_EQ(view().contrastSlider()->intValue(), 32);
    EXPECT_EQ(view().contrastValueText()->text(), u"32");
}

TEST_F(PanelFollowing, WithoutACameraNothingIsWritten) {
    start(0);
    EXPECT_FALSE(panel().writeControl(KTUVCControl::bright, false, [](KTUVCManager&) { return true; }));
}

TEST_F(PanelFollowing, WithoutACameraAWalkEndsToo) {
    start(0);
    QSignalSpy ends(&panel(), &ViewController::controlWalkEnded);
    panel().walkControls(ControlWalk::defaults);
    EXPECT_TRUE(waitFor([&] { return ends.size() == 1; }));
}

} // namespace
} // namespace tavelo
