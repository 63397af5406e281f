// SPDX-License-Identifier: MIT
// Cameras that are silent, slow or gone, while they are bound and later.
#include <QElapsedTimer>

#include "integration/main_thread_watch.h"
#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using camera_settings::integer;

constexpr std::uint8_t getInfo = 0x86;

class PanelFailingCameras : public PanelTest {
protected:
    static FirmwareFault silence(std::optional<ControlAddress> control, FaultDirection direction) {
        return {.kind = FaultKind::silence, .control = control, .direction = direction};
    }

    /// Starts with a camera that stops answering while its controls are read: brightness and contrast are
    /// read, saturation and the rest are not.
    void startWithHalfReadCamera() {
        plug(1)->order(silence(control::gain, FaultDirection::reads));
        start(0);
        ASSERT_TRUE(manager_.contrast()->supported());
        ASSERT_FALSE(manager_.saturation()->supported());
    }

    void expectControllable(bool controllable) {
        for (const SliderRow& row : view().rows())
            EXPECT_EQ(row.slider->isEnabled(), controllable);
        EXPECT_EQ(view().profile1Button()->isEnabled(), controllable);
        EXPECT_EQ(view().restoreProfileButton()->isEnabled(), controllable);
        EXPECT_EQ(panel().cameraSettingKey().has_value(), controllable);
    }

    std::ptrdiff_t readings(int number) {
        const std::uint16_t unit = static_cast<std::uint16_t>(camera(number)->model().unitID << 8);
        return std::ranges::count_if(camera(number)->requestLog(), [unit](const RequestRecord& request) {
            return request.setup.bRequest == getInfo && request.setup.wIndex == unit &&
                   request.setup.wValue == 0x0200;
        });
    }

    std::ptrdiff_t writesOf(ControlAddress control) {
        return std::ranges::count_if(writes(*camera(1)), [&](const RequestRecord& request) {
            const bool terminal = request.setup.wIndex >> 8 == camera(1)->model().terminalID;
            return terminal == (control.entity == UvcEntity::cameraTerminal) &&
                   request.setup.wValue >> 8 == control.selector;
        });
    }

    /// Runs the event loop for longer than the quiet time.
    void waitOutTheQuietTime() {
        bool over = false;
        QTimer::singleShot(ReopeningPolicy::quietTime * 3 / 2, &window_, [&over] { over = true; });
        ASSERT_TRUE(waitFor([&over] { return over; }));
    }
};

TEST_F(PanelFailingCameras, ASilentCameraIsShownWithControlsDisabled) {
    plug(1)->order(silence({}, FaultDirection::both));
    start(0);
    expectControllable(false);
    EXPECT_TRUE(store_.empty());
    EXPECT_TRUE(waitFor([this] { return panel().displayView()->mtkView()->drawnFrames() > 2; }));
    camera(1)->clearRequestLog();
    panel().restoreProfileButtonAction(nullptr);
    panel().profile1ButtonAction(nullptr);
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_TRUE(camera(1)->requestLog().empty());
}

TEST_F(PanelFailingCameras, ACameraThatCannotBeBoundHasItsControlsDisabled) {
    start(2);
    expectControllable(true);
    backend_.bus->unplug(2); // the panel does not know yet
    panel().switchCameraWithIndex(1);
    expectControllable(false);
}

TEST_F(PanelFailingCameras, ASilentCameraThatAnswersASecondLaterIsEnabled) {
    plug(1)->order(silence({}, FaultDirection::both));
    start(0);
    expectControllable(false);
    camera(1)->clearFaults();
    ASSERT_TRUE(waitFor([this] { return view().brightnessSlider()->isEnabled(); }));
    expectControllable(true);
    EXPECT_EQ(view().contrastValueText()->text(), u"32");
    EXPECT_EQ(integer(storedProfile(3), "kNSUserDefaultsKeyContrast"), 32);
}

TEST_F(PanelFailingCameras, AHalfReadCameraGetsItsRecordFromTheSecondReading) {
    startWithHalfReadCamera();
    expectControllable(true);
    EXPECT_TRUE(store_.empty());
    camera(1)->clearFaults();
    ASSERT_TRUE(waitFor([this] { return !store_.empty(); }));
    EXPECT_EQ(integer(storedProfile(0), "kNSUserDefaultsKeySaturation"), 64);
    EXPECT_EQ(integer(storedProfile(0), "kNSUserDefaultsKeyWhiteBalance"), 4600);
    EXPECT_EQ(view().whiteBalanceValueText()->text(), u"4600");
}

TEST_F(PanelFailingCameras, ACameraThatStaysSilentIsReadOnlyOnceMore) {
    startWithHalfReadCamera();
    ASSERT_TRUE(waitFor([this] { return readings(1) == 2; }));
    waitOutTheQuietTime();
    EXPECT_EQ(readings(1), 2);
    EXPECT_TRUE(store_.empty());
}

TEST_F(PanelFailingCameras, TheSecondReadingIsDroppedWhenAnotherCameraIsChosen) {
    plug(1)->order(silence(control::gain, FaultDirection::reads));
    plug(2);
    start(0);
    ASSERT_FALSE(manager_.recordsAreRead());
    click(view().camera2Button());
    const std::ptrdiff_t before = readings(1);
    waitOutTheQuietTime();
    EXPECT_EQ(readings(1), before);
    EXPECT_EQ(readings(2), 1);
}

TEST_F(PanelFailingCameras, APressThatMakesTheCameraReadAgainIsDroppedAndTheWidgetsFollow) {
    startWithHalfReadCamera();
    const auto firmware = camera(1);
    firmware->clearFaults();
    firmware->setControlValue(control::contrast, 40);
    firmware->setControlValue(control::panTilt, packPanTilt(7199, 0));
    passTime(ReopeningPolicy::quietTime);
    KTSlider* slider = view().contrastSlider();
    press(slider, 1);
    EXPECT_EQ(slider->intValue(), 40);
    EXPECT_EQ(view().contrastValueText()->text(), u"40");
    EXPECT_EQ(view().saturationValueText()->text(), u"64");
    EXPECT_EQ(view().saturationSlider()->maxValue(), 128);
    EXPECT_EQ(view().panLeftRightValueText()->text(), u"1");
    move(slider, 0.5);
    release(slider, 0.5);
    EXPECT_TRUE(writes(*firmware).empty()) << "the rest of that drag is dropped too";
    EXPECT_EQ(slider->intValue(), 40);
    EXPECT_FALSE(store_.empty());

    press(slider, 1);
    EXPECT_EQ(firmware->controlValue(control::contrast), 64);
}

TEST_F(PanelFailingCameras, APowerLineButtonThatMakesTheCameraReadAgainSendsNothing) {
    startWithHalfReadCamera();
    camera(1)->clearFaults();
    passTime(ReopeningPolicy::quietTime);
    click(view().hz60Button());
    EXPECT_TRUE(writes(*camera(1)).empty());
    EXPECT_TRUE(view().hz50Button()->check());
    click(view().hz60Button());
    EXPECT_EQ(camera(1)->controlValue(control::powerLine), 2);
}

TEST_F(PanelFailingCameras, RestoringFirstReadsTheMissingControls) {
    startWithHalfReadCamera();
    camera(1)->clearFaults();
    camera(1)->setControlValue(control::sharpness, 9);
    passTime(ReopeningPolicy::quietTime);
    push(view().restoreProfileButton());
    EXPECT_EQ(camera(1)->controlValue(control::sharpness), 5);
}

TEST_F(PanelFailingCameras, NothingIsSentToAHalfReadCameraThatIsNotQuiet) {
    startWithHalfReadCamera();
    camera(1)->clearRequestLog();
    click(view().brightnessSlider());
    click(view().profile1Button());
    click(view().restoreProfileButton());
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_TRUE(camera(1)->requestLog().empty());
}

TEST_F(PanelFailingCameras, RestoringRestartsTheQuietTimeToo) {
    startWithHalfReadCamera();
    passTime(ReopeningPolicy::quietTime - 1ms);
    click(view().restoreProfileButton());
    passTime(1ms);
    press(view().brightnessSlider(), 1);
    EXPECT_EQ(readings(1), 1);
}

TEST_F(PanelFailingCameras, UserActionsPostponeTheSecondReading) {
    startWithHalfReadCamera();
    const auto timers = panel().findChildren<QTimer*>();
    const auto timer = std::ranges::find_if(timers, [](const QTimer* t) { return t->isActive(); });
    ASSERT_NE(timer, timers.end());
    ASSERT_TRUE(
        waitFor([&] { return (*timer)->remainingTimeAsDuration() <= ReopeningPolicy::quietTime / 2; }));
    const auto before = (*timer)->remainingTimeAsDuration();
    click(view().brightnessSlider());
    EXPECT_GT((*timer)->remainingTimeAsDuration(), before);
    EXPECT_EQ(readings(1), 1);
}

TEST_F(PanelFailingCameras, SavingAHalfReadCameraKeepsStoredValuesOfUnreadControls) {
    startWithHalfReadCamera();
    PreferencesDictionary profile{{"kNSUserDefaultsKeySaturation", {std::int64_t(99)}},
                                  {"kNSUserDefaultsKeyContrast", {std::int64_t(98)}}};
    camera_settings::storeCurrent(profile, manager_, false);
    EXPECT_EQ(integer(profile, "kNSUserDefaultsKeySaturation"), 99);
    EXPECT_EQ(integer(profile, "kNSUserDefaultsKeyContrast"), 32);
}

TEST_F(PanelFailingCameras, AControlThatTheCameraDoesNotHaveIsNotPushed) {
    plug(1)->order({.kind = FaultKind::stall, .control = control::sharpness});
    start(0);
    ASSERT_FALSE(manager_.sharpness()->supported());
    EXPECT_FALSE(store_.empty());
    push(view().profile1Button());
    EXPECT_EQ(writesOf(control::sharpness), 0);
    EXPECT_EQ(writesOf(control::contrast), 1);
    EXPECT_EQ(view().sharpnessValueText()->text(), u"-1");
}

TEST_F(PanelFailingCameras, ARecordMadeOfASilentCameraIsNotWrittenToIt) {
    start(1);
    PreferencesDictionary spoilt = storedProfile(0);
    for (const ProfileControl& control : profileControls())
        spoilt[std::string(control.key)] = {std::int64_t(-1)};
    storeProfile(0, spoilt);
    spoilt["kNSUserDefaultsKeyPowerLine"] = {std::int64_t(2)};
    storeProfile(1, spoilt);
    camera(1)->clearRequestLog();
    click(view().profile1Button());
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_TRUE(camera(1)->requestLog().empty());
    push(view().profile2Button());
    EXPECT_EQ(writes(*camera(1)).size(), 2U) << "the preparing write and the power line";
    EXPECT_EQ(camera(1)->controlValue(control::brightness), 0);
    EXPECT_EQ(camera(1)->controlValue(control::panTilt), 0);
}

TEST_F(PanelFailingCameras, ADragOnAHangingCameraSendsOneRequestAndAnotherAfterASecondOfQuiet) {
    start(1);
    camera(1)->order(silence(control::brightness, FaultDirection::writes));
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    for (const double share : {0.1, 0.2, 0.3, 0.4, 0.5, 0.6})
        move(slider, share);
    release(slider, 0.6);
    EXPECT_EQ(writes(*camera(1)).size(), 1U);
    EXPECT_EQ(view().brightnessValueText()->text(), u"0");

    camera(1)->clearFaults();
    passTime(ReopeningPolicy::quietTime - 1ms);
    press(slider, 1);
    release(slider, 1);
    EXPECT_EQ(writes(*camera(1)).size(), 1U);
    passTime(ReopeningPolicy::quietTime);
    press(slider, 1);
    EXPECT_EQ(camera(1)->controlValue(control::brightness), 64);
    EXPECT_EQ(view().brightnessValueText()->text(), u"64");
}

TEST_F(PanelFailingCameras, ADragWithPausesReopensTheCameraOnlyOnce) {
    start(1);
    camera(1)->order(silence(control::brightness, FaultDirection::writes));
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    passTime(2s);
    move(slider, 0.5);
    EXPECT_EQ(writes(*camera(1)).size(), 2U);
    passTime(2s);
    move(slider, 0.6);
    release(slider, 0.6);
    EXPECT_EQ(writes(*camera(1)).size(), 2U);
    passTime(2s);
    press(slider, 1);
    EXPECT_EQ(writes(*camera(1)).size(), 3U);
}

// Releasing the slider at the camera's current value sends nothing.
TEST_F(PanelFailingCameras, ASaturationDragThatEndsWhereItBeganStillCountsAsEnded) {
    start(1);
    camera(1)->order(silence(control::saturation, FaultDirection::writes));
    KTSlider* slider = view().saturationSlider();
    press(slider, 0);
    passTime(2s);
    move(slider, 0.2);
    EXPECT_EQ(writes(*camera(1)).size(), 2U);
    slider->setIntValue(64);
    release(slider, 0.5);
    passTime(2s);
    press(slider, 1);
    EXPECT_EQ(writes(*camera(1)).size(), 3U);
}

TEST_F(PanelFailingCameras, AHeldKeySendsOneRequestToAHangingCamera) {
    start(1);
    camera(1)->order(silence(control::brightness, FaultDirection::writes));
    for (int i = 0; i < 40; ++i) {
        QTest::keyPress(view().brightnessSlider(), Qt::Key_Right);
        passTime(50ms);
    }
    EXPECT_EQ(writes(*camera(1)).size(), 1U);
}

TEST_F(PanelFailingCameras, ADragOverRefusedValuesSendsEachToTheCamera) {
    start(1);
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::brightness, .direction = FaultDirection::writes});
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    move(slider, 0.5);
    camera(1)->clearFaults();
    move(slider, 1);
    EXPECT_EQ(writes(*camera(1)).size(), 3U);
    EXPECT_EQ(camera(1)->controlValue(control::brightness), 64);
}

TEST_F(PanelFailingCameras, APushContinuesAfterOneMissingAnswer) {
    start(1);
    camera(1)->order(silence(control::sharpness, FaultDirection::writes));
    camera(1)->setControlValue(control::zoom, 200);
    push(view().profile1Button());
    EXPECT_EQ(writesOf(control::sharpness), 1);
    EXPECT_EQ(camera(1)->controlValue(control::zoom), 100);
}

TEST_F(PanelFailingCameras, APushEndsAfterTwoMissingAnswers) {
    start(1);
    camera(1)->order(silence(control::contrast, FaultDirection::writes));
    camera(1)->order(silence(control::sharpness, FaultDirection::writes));
    click(view().profile1Button());
    ASSERT_TRUE(waitFor([this] { return writesOf(control::sharpness) > 0; }));
    waitOutTheQuietTime();
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_EQ(writesOf(control::contrast), 1);
    EXPECT_EQ(writesOf(control::saturation), 1);
    EXPECT_EQ(writesOf(control::sharpness), 1);
    EXPECT_EQ(writesOf(control::zoom), 0);
}

TEST_F(PanelFailingCameras, SwitchingCamerasEndsAPush) {
    start(2);
    PreferencesDictionary profile = storedProfile(0);
    profile["kNSUserDefaultsKeyPanTilt"] = {packPanTilt(18000, 0)};
    profile["kNSUserDefaultsKeyPowerLine"] = {std::int64_t(2)};
    storeProfile(0, profile);
    camera(1)->order({.kind = FaultKind::delay, .control = control::panTilt, .wait = 1h});
    click(view().profile1Button());
    // The write before the delayed one.
    ASSERT_TRUE(waitFor([this] { return writesOf(control::zoom) > 0; }));
    click(view().camera2Button());
    camera(1)->clearFaults(); // ends the delay too
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_EQ(camera(1)->controlValue(control::panTilt), packPanTilt(18000, 0));
    EXPECT_EQ(camera(1)->controlValue(control::powerLine), 1) << "the rest of the push is dropped";
    EXPECT_TRUE(writes(*camera(2)).empty());
    EXPECT_EQ(manager_.panTilt()->val(), 0);
    EXPECT_EQ(view().panLeftRightValueText()->text(), u"0");

    KTSlider* tilt = view().panUpDownSlider();
    press(tilt, 1);
    EXPECT_EQ(camera(2)->controlValue(control::panTilt), packPanTilt(0, 36000));
}

TEST_F(PanelFailingCameras, SwitchingCamerasEndsADrag) {
    start(2);
    KTSlider* slider = view().brightnessSlider();
    press(slider, 1);
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
    move(slider, 0.1);
    release(slider, 0.1);
    EXPECT_TRUE(writes(*camera(2)).empty());
    EXPECT_EQ(slider->intValue(), 0);
}

} // namespace
} // namespace tavelo
