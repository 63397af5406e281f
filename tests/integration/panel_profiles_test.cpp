// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <array>

#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

using camera_settings::boolean;
using camera_settings::integer;

constexpr std::uint8_t setCur = 0x01;
constexpr std::uint8_t getCur = 0x81;

class PanelProfiles : public PanelTest {
protected:
    PreferencesDictionary profileWith(std::string_view key, std::int64_t value) {
        PreferencesDictionary profile = storedProfile(0);
        profile[std::string(key)] = {value};
        return profile;
    }

    /// Clicks save and dismisses the alert.  Returns its text, or an empty string if there was none.
    QString save() {
        return alertAfter([this] { click(view().saveProfileButton()); });
    }

    /// The text of the last alert that the action causes.
    template <typename Action>
    QString alertAfter(Action action) {
        QString shownText;
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, &watch, [&shownText] {
            if (auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                shownText = alert->text();
                alert->accept();
            }
        });
        watch.start(0);
        action();
        waitForTheStore();
        return shownText;
    }

    /// Waits until earlier requests to the store and their handlers have finished.
    void waitForTheStore() {
        bool ended = false;
        store_.synchronize([this, &ended](bool) { mainQueue_.post([&ended] { ended = true; }); });
        EXPECT_TRUE(waitFor([&ended] { return ended && QApplication::activeModalWidget() == nullptr; }));
    }

    static const RequestRecord* find(const std::vector<RequestRecord>& log, std::uint8_t request,
                                     std::uint16_t wValue) {
        for (const RequestRecord& record : log)
            if (record.setup.bRequest == request && record.setup.wValue == wValue) return &record;
        return nullptr;
    }
};

constexpr std::uint16_t relativeExposure = 0x0500;

TEST_F(PanelProfiles, AProfileEqualToTheDefaultsReadsBrightnessInsteadOfTheSpecialWrite) {
    start(1);
    camera(1)->clearRequestLog();
    push(view().profile1Button());
    const auto log = camera(1)->requestLog();
    ASSERT_GE(log.size(), 9U);
    EXPECT_EQ(log.front().setup.bRequest, getCur);
    EXPECT_EQ(log.front().setup.wValue, 0x0200);
    for (const RequestRecord& record : log) {
        const bool toTerminal = record.setup.wIndex >> 8 == camera(1)->model().terminalID;
        EXPECT_FALSE(toTerminal && record.setup.wValue == relativeExposure);
    }
}

TEST_F(PanelProfiles, AProfileThatDiffersIsPrecededByTheSpecialWrite) {
    start(1);
    storeProfile(1, profileWith("kNSUserDefaultsKeyContrast", 40));
    camera(1)->clearRequestLog();
    push(view().profile2Button());
    const auto log = camera(1)->requestLog();
    ASSERT_FALSE(log.empty());
    const RequestRecord& first = log.front();
    EXPECT_EQ(first.setup.bmRequestType, 0x21);
    EXPECT_EQ(first.setup.bRequest, setCur);
    EXPECT_EQ(first.setup.wValue, relativeExposure);
    EXPECT_EQ(first.setup.wIndex, camera(1)->model().terminalID << 8);
    EXPECT_EQ(first.data, (std::vector<std::uint8_t>{100, 0}));
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 40);
}

TEST_F(PanelProfiles, AProfileThatDiffersOnlyInZoomOrPanTiltCountsAsAllDefaults) {
    start(1);
    PreferencesDictionary profile = profileWith("kNSUserDefaultsKeyZoom", 200);
    profile["kNSUserDefaultsKeyPanTilt"] = {packPanTilt(3600, -7200)};
    storeProfile(2, profile);
    camera(1)->clearRequestLog();
    push(view().profile3Button());
    EXPECT_EQ(camera(1)->requestLog().front().setup.bRequest, getCur);
    EXPECT_EQ(camera(1)->controlValue(control::zoom), 200);
    EXPECT_EQ(camera(1)->controlValue(control::panTilt), packPanTilt(3600, -7200));
    EXPECT_EQ(view().zoomValueText()->text(), u"200");
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 1);
    EXPECT_EQ(view().panUpDownSlider()->intValue(), -2);
    EXPECT_EQ(view().panUpDownValueText()->text(), u"-2");
}

TEST_F(PanelProfiles, TheEightValuesAreWrittenInTheirOrder) {
    start(1);
    camera(1)->clearRequestLog();
    push(view().profile1Button());
    std::vector<std::uint16_t> written;
    for (const RequestRecord& record : camera(1)->requestLog())
        if (record.setup.bRequest == setCur) written.push_back(record.setup.wValue);
    const std::vector<std::uint16_t> expected{0x0200, 0x0300, 0x0700, 0x0A00, 0x0800, 0x0B00, 0x0D00, 0x0500};
    EXPECT_EQ(written, expected);
}

TEST_F(PanelProfiles, SelectingAProfileHidesThePreviewUntilTheCameraSettled) {
    start(1);
    click(view().profile1Button());
    EXPECT_TRUE(panel().displayView()->mtkView()->isHidden());
    EXPECT_EQ(view().profile1Button()->state(), 1);
    EXPECT_EQ(view().profile2Button()->state(), 0);
    const auto* timer = panel().findChild<QTimer*>();
    ASSERT_NE(timer, nullptr);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(timer->intervalAsDuration(), std::chrono::milliseconds(300));
    EXPECT_TRUE(waitFor([this] { return !panel().displayView()->mtkView()->isHidden(); }));
}

TEST_F(PanelProfiles, RestoringTheDefaultsLeavesThePreviewVisible) {
    start(1);
    click(view().restoreProfileButton());
    EXPECT_FALSE(panel().displayView()->mtkView()->isHidden());
    EXPECT_FALSE(panel().findChild<QTimer*>()->isActive());
}

TEST_F(PanelProfiles, SavingStoresTheManagersValuesNotTheSliderPositions) {
    start(1);
    push(view().profile2Button());
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::contrast, .direction = FaultDirection::writes});
    QTest::mouseClick(view().contrastSlider(), Qt::LeftButton, {}, pointOf(view().contrastSlider(), 1));
    QTest::mouseClick(view().brightnessSlider(), Qt::LeftButton, {}, pointOf(view().brightnessSlider(), 1));
    ASSERT_EQ(view().contrastSlider()->intValue(), 64);
    EXPECT_EQ(save(), QString::fromStdString(bundle_.localizedString("Saved_successfully", {})));
    const PreferencesDictionary profile = storedProfile(1);
    EXPECT_EQ(integer(profile, "kNSUserDefaultsKeyBrightness"), 64);
    EXPECT_EQ(integer(profile, "kNSUserDefaultsKeyContrast"), 32);
    EXPECT_TRUE(store_.flushed());
    EXPECT_EQ(storedProfile(0), storedProfile(2)) << "the other profiles do not change";
}

TEST_F(PanelProfiles, SavedAlertAppearsOnlyOnceTheProfileIsOnTheDisk) {
    start(1);
    push(view().profile1Button());
    waitForTheStore();
    const auto before = store_.onDisk(*panel().cameraSettingKey());
    QTest::mouseClick(view().brightnessSlider(), Qt::LeftButton, {}, pointOf(view().brightnessSlider(), 1));
    click(view().saveProfileButton());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << "no alert before the write has finished";
    EXPECT_EQ(save(), QString::fromStdString(bundle_.localizedString("Saved_successfully", {})));
    EXPECT_NE(store_.onDisk(*panel().cameraSettingKey()), before);
}

TEST_F(PanelProfiles, AFailedSaveRestoresTheProfileOnTheDiskAndShowsNoSavedAlert) {
    start(1);
    push(view().profile1Button());
    waitForTheStore();
    const PreferencesDictionary before = storedProfile(0);
    store_.setFails(true);
    QTest::mouseClick(view().brightnessSlider(), Qt::LeftButton, {}, pointOf(view().brightnessSlider(), 1));
    EXPECT_EQ(save(), QString());
    EXPECT_EQ(storedProfile(0), before);
    EXPECT_EQ(store_.onDisk(*panel().cameraSettingKey()), store_.objectForKey(*panel().cameraSettingKey()));

    store_.setFails(false);
    EXPECT_NE(save(), QString());
    EXPECT_EQ(integer(storedProfile(0), "kNSUserDefaultsKeyBrightness"), 64);
}

TEST_F(PanelProfiles, TheFirstOfTwoFailedSavesDoesNotUndoTheSecond) {
    start(1);
    push(view().profile1Button());
    waitForTheStore();
    const PreferencesDictionary before = storedProfile(0);
    store_.setFails(true);
    const QString alert = alertAfter([this] {
        for (KTSlider* slider : {view().brightnessSlider(), view().contrastSlider()}) {
            QTest::mouseClick(slider, Qt::LeftButton, {}, pointOf(slider, 1));
            click(view().saveProfileButton());
        }
    });
    EXPECT_EQ(alert, QString());
    EXPECT_EQ(storedProfile(0), before);
}

TEST_F(PanelProfiles, SelectingAProfileDuringAFailingSaveDoesNotStoreTheUnsavedValues) {
    start(1);
    push(view().profile1Button());
    waitForTheStore();
    const PreferencesDictionary before = storedProfile(0);
    store_.setFails(true);
    QTest::mouseClick(view().brightnessSlider(), Qt::LeftButton, {}, pointOf(view().brightnessSlider(), 1));
    const QString alert = alertAfter([this] {
        click(view().saveProfileButton());
        store_.setFails(false);
        click(view().profile2Button()); // writes the whole record
    });
    EXPECT_EQ(alert, QString());
    EXPECT_EQ(storedProfile(0), before);
    EXPECT_EQ(store_.onDisk(*panel().cameraSettingKey()), store_.objectForKey(*panel().cameraSettingKey()));
}

TEST_F(PanelProfiles, ASaveThatEndsAfterTheWindowWasClosedShowsNothing) {
    start(1);
    push(view().profile1Button());
    EXPECT_EQ(alertAfter([this] {
                  click(view().saveProfileButton());
                  window_.hide();
              }),
              QString());
}

TEST_F(PanelProfiles, AfterASaveTheMirrorEntryIsABooleanAndBothKindsReadBackAsOff) {
    start(1);
    const std::string key(camera_settings::mirrorKey);
    EXPECT_EQ(storedProfile(0)[key], PreferencesValue{std::int64_t(0)});
    EXPECT_FALSE(boolean(storedProfile(0), key));
    push(view().profile1Button());
    save();
    EXPECT_EQ(storedProfile(0)[key], PreferencesValue{false});
    EXPECT_FALSE(boolean(storedProfile(0), key));
    click(view().mirrorSwitch());
    save();
    EXPECT_EQ(storedProfile(0)[key], PreferencesValue{true});
}

TEST_F(PanelProfiles, SavingKeepsEntriesThatAreNotOfThePanel) {
    start(1);
    storeProfile(0, profileWith("of another version", 7));
    push(view().profile1Button());
    save();
    EXPECT_EQ(integer(storedProfile(0), "of another version"), 7);
}

TEST_F(PanelProfiles, SavingWithoutASelectedProfileDoesNothingAndShowsNothing) {
    start(1);
    const int before = store_.synchronizations();
    click(view().saveProfileButton());
    EXPECT_EQ(store_.synchronizations(), before);
    EXPECT_EQ(save(), QString());
    EXPECT_EQ(view().saveProfileButton()->state(), 1);
}

TEST_F(PanelProfiles, SavingIntoARecordShorterThanTheSelectedProfileShowsNothing) {
    start(1);
    store_.setObject({PreferencesArray{{storedProfile(0)}}}, *panel().cameraSettingKey());
    panel().setProfileIndex(3);
    EXPECT_EQ(save(), QString());
}

TEST_F(PanelProfiles, ARecordWithFewerThanFiveElementsGetsItsSelectedIndexAppended) {
    start(1);
    const PreferencesDictionary profile = storedProfile(0);
    store_.setObject({PreferencesArray{{profile}, {profile}}}, *panel().cameraSettingKey());
    push(view().profile2Button());
    EXPECT_EQ(integer(storedProfile(2), camera_settings::selectedProfileKey), 1);
    EXPECT_TRUE(store_.flushed());
}

TEST_F(PanelProfiles, RestorePushesTheDefaultsAndMirrorOffAndLeavesTheStoredProfile) {
    start(1);
    storeProfile(1, profileWith("kNSUserDefaultsKeyContrast", 50));
    push(view().profile2Button());
    click(view().mirrorSwitch());
    ASSERT_EQ(camera(1)->controlValue(control::contrast), 50);
    const PreferencesDictionary stored = storedProfile(1);
    push(view().restoreProfileButton());
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 32);
    EXPECT_EQ(view().contrastSlider()->intValue(), 32);
    EXPECT_EQ(view().contrastValueText()->text(), u"32");
    EXPECT_FALSE(view().mirrorSwitch()->on());
    EXPECT_FALSE(panel().displayView()->mtkView()->shouldFlipHorizontal());
    EXPECT_EQ(storedProfile(1), stored);
    EXPECT_EQ(panel().profileIndex(), 1);
    EXPECT_EQ(view().profile2Button()->state(), 1);
    EXPECT_EQ(view().restoreProfileButton()->state(), 0);
}

TEST_F(PanelProfiles, ARefusedValueDoesNotStopTheFollowingOnes) {
    start(1);
    PreferencesDictionary profile = profileWith("kNSUserDefaultsKeySharpness", 9);
    profile["kNSUserDefaultsKeyWhiteBalance"] = {std::int64_t(5000)};
    profile["kNSUserDefaultsKeyPowerLine"] = {std::int64_t(2)};
    storeProfile(0, profile);
    camera(1)->setControlValue(control::autoWhiteBalance, 1);
    push(view().profile1Button());
    EXPECT_EQ(camera(1)->controlValue(control::whiteBalance), 4600);
    EXPECT_EQ(camera(1)->controlValue(control::sharpness), 9);
    EXPECT_EQ(camera(1)->controlValue(control::powerLine), 2);
    EXPECT_TRUE(view().hz60Button()->check());
    EXPECT_EQ(view().whiteBalanceValueText()->text(), u"4600");
}

TEST_F(PanelProfiles, ACameraPulledOutWhileAProfileIsPushedEndsInThePanelWithoutACamera) {
    start(1);
    camera(1)->order({.kind = FaultKind::delay, .wait = std::chrono::milliseconds(20)});
    click(view().profile1Button());
    backend_.bus->unplug(1);
    EXPECT_TRUE(waitFor([this] { return panel().devicesArray().empty(); }));
    EXPECT_TRUE(waitFor([] { return QThreadPool::globalInstance()->activeThreadCount() == 0; }));
    EXPECT_FALSE(view().brightnessSlider()->isEnabled());
}

TEST_F(PanelProfiles, APushToASlowCameraDoesNotHoldTheWindowUp) {
    using namespace std::chrono_literals;
    start(1);
    constexpr auto answerTime = 300ms; // long, because a click may be slow on a busy machine
    camera(1)->order({.kind = FaultKind::delay, .wait = answerTime});
    storeProfile(0, profileWith("kNSUserDefaultsKeyContrast", 40));
    QElapsedTimer blocked;
    blocked.start();
    click(view().profile1Button());
    EXPECT_LT(std::chrono::milliseconds(blocked.elapsed()), answerTime);
    EXPECT_TRUE(waitFor([this] { return view().contrastValueText()->text() == u"40"; }));
}

TEST_F(PanelProfiles, AProfileButtonWithNoBoundCameraOnlyChangesTheButtons) {
    start(0);
    panel().profile3ButtonAction(nullptr);
    EXPECT_EQ(view().profile3Button()->state(), 1);
    EXPECT_EQ(panel().profileIndex(), 2);
    EXPECT_TRUE(store_.empty());
}

TEST_F(PanelProfiles, ThePanelMayBeDestroyedDuringAPush) {
    start(1);
    camera(1)->order({.kind = FaultKind::delay, .wait = std::chrono::milliseconds(10)});
    click(view().profile1Button());
    panel_.reset();
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_TRUE(store_.flushed());
}

} // namespace
} // namespace tavelo
