// SPDX-License-Identifier: MIT
#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

class PanelCameras : public PanelTest {
protected:
    void expectControlsEnabled(bool enabled) {
        for (const SliderRow& row : view().rows()) {
            EXPECT_EQ(row.slider->isEnabled(), enabled);
            EXPECT_EQ(row.titleText->enable(), enabled);
        }
        EXPECT_EQ(view().mirrorSwitch()->isEnabled(), enabled);
        EXPECT_EQ(view().mirrorTitleText()->enable(), enabled);
        EXPECT_EQ(view().hz50Button()->isEnabled(), enabled);
        EXPECT_EQ(view().hz60Button()->isEnabled(), enabled);
        EXPECT_EQ(view().hz50Text()->enable(), enabled);
        EXPECT_EQ(view().hz60Text()->enable(), enabled);
        for (const KTProfileButton* button : view().profileButtons())
            EXPECT_EQ(button->isEnabled(), enabled);
        EXPECT_EQ(view().saveProfileButton()->isEnabled(), enabled);
        EXPECT_EQ(view().restoreProfileButton()->isEnabled(), enabled);
    }

    void expectNoProfileSelected() {
        EXPECT_EQ(panel().profileIndex(), -1);
        for (const KTProfileButton* button : view().profileButtons())
            EXPECT_EQ(button->state(), 0);
    }

    /// The number of the camera shown, or 0.
    int shown() {
        const auto device = panel().displayView()->captureDevice();
        if (!device) return 0;
        for (const auto& camera : backend_.bus->cameras()) {
            char location[11];
            std::snprintf(location, sizeof location, "0x%08x", camera->model().locationID);
            if (device->uniqueID().starts_with(location)) return camera->model().number;
        }
        return -1;
    }
};

TEST_F(PanelCameras, StartUpWithNoCameraDisablesEverythingAndWritesNoRecord) {
    start(0);
    EXPECT_FALSE(view().camera1Button()->isEnabled());
    EXPECT_FALSE(view().camera2Button()->isEnabled());
    expectControlsEnabled(false);
    EXPECT_TRUE(store_.empty());
    EXPECT_FALSE(panel().cameraSettingKey());
    EXPECT_TRUE(view().hz50Button()->check());
    EXPECT_FALSE(view().hz60Button()->check());
    EXPECT_EQ(view().saveProfileButton()->state(), 1);
    EXPECT_EQ(view().restoreProfileButton()->state(), 0);
    for (const SliderRow& row : view().rows())
        EXPECT_EQ(row.valueText->text(), u"0");
}

TEST_F(PanelCameras, StartUpWithOneCameraShowsItsPictureAndItsValues) {
    start(1);
    EXPECT_TRUE(view().camera1Button()->isEnabled());
    EXPECT_TRUE(view().camera1Button()->selected());
    EXPECT_FALSE(view().camera2Button()->isEnabled());
    expectControlsEnabled(true);
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(view().contrastValueText()->text(), u"32");
    EXPECT_EQ(view().whiteBalanceSlider()->intValue(), 4600);
    EXPECT_TRUE(waitFor([this] { return panel().displayView()->mtkView()->drawnFrames() > 2; }));
}

TEST_F(PanelCameras, StartUpWithThreeCamerasListsAllAndReachesTheFirstTwo) {
    start(3);
    EXPECT_EQ(panel().devicesArray().size(), 3U);
    EXPECT_EQ(shown(), 1);
    click(view().camera2Button());
    EXPECT_EQ(shown(), 2);
    EXPECT_TRUE(view().camera2Button()->selected());
    EXPECT_FALSE(view().camera1Button()->selected());
    click(view().camera1Button());
    EXPECT_EQ(shown(), 1);
}

TEST_F(PanelCameras, PressingTheButtonOfTheCameraShownDoesNothing) {
    start(2);
    click(view().profile2Button());
    const auto before = panel().displayView()->videoCaptureDeviceInput();
    click(view().camera1Button());
    EXPECT_EQ(panel().displayView()->videoCaptureDeviceInput(), before);
    EXPECT_EQ(panel().profileIndex(), 1);
}

TEST_F(PanelCameras, PluggingInTheFirstCameraEnablesThePanel) {
    start(0);
    plug(1);
    ASSERT_TRUE(waitFor([this] { return panel().cameraSettingKey().has_value(); }));
    EXPECT_EQ(shown(), 1);
    EXPECT_TRUE(view().camera1Button()->isEnabled());
    EXPECT_TRUE(view().camera1Button()->selected());
    EXPECT_FALSE(view().camera2Button()->isEnabled());
    expectControlsEnabled(true);
}

TEST_F(PanelCameras, PluggingInASecondCameraEnablesItsButtonAndKeepsTheFirstShown) {
    start(1);
    const auto before = panel().displayView()->videoCaptureDeviceInput();
    plug(2);
    ASSERT_TRUE(waitFor([this] { return view().camera2Button()->isEnabled(); }));
    EXPECT_EQ(panel().displayView()->videoCaptureDeviceInput(), before);
    EXPECT_TRUE(view().camera1Button()->selected());
    EXPECT_FALSE(view().camera2Button()->selected());
}

TEST_F(PanelCameras, PullingOutTheCameraShownMovesToTheOneThatIsLeft) {
    start(2);
    const auto first = *panel().cameraSettingKey();
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
    EXPECT_EQ(shown(), 2);
    EXPECT_NE(*panel().cameraSettingKey(), first);
    EXPECT_TRUE(view().camera1Button()->selected());
    EXPECT_FALSE(view().camera2Button()->isEnabled());
    expectControlsEnabled(true);
}

TEST_F(PanelCameras, PullingOutTheCameraShownClosesItsControlsAtOnce) {
    start(1);
    ASSERT_TRUE(manager_.interface());
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([&] { return panel().devicesArray().empty(); }));
    EXPECT_FALSE(manager_.interface());
}

TEST_F(PanelCameras, PullingOutTheCameraNotShownChangesOnlyTheButtons) {
    start(2);
    const auto before = panel().displayView()->videoCaptureDeviceInput();
    click(view().profile3Button());
    backend_.bus->unplug(2);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
    EXPECT_EQ(panel().displayView()->videoCaptureDeviceInput(), before);
    EXPECT_EQ(panel().profileIndex(), 2);
    EXPECT_FALSE(view().camera2Button()->isEnabled());
    expectControlsEnabled(true);
}

TEST_F(PanelCameras, PullingOutTheLastCameraDisablesThePanelAndBlackensThePreview) {
    start(1);
    ASSERT_TRUE(waitFor([this] { return panel().displayView()->mtkView()->drawnFrames() > 0; }));
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().empty(); }));
    EXPECT_FALSE(view().camera1Button()->isEnabled());
    EXPECT_FALSE(view().camera2Button()->isEnabled());
    expectControlsEnabled(false);
    EXPECT_TRUE(waitFor([this] { return !panel().displayView()->captureDevice(); }));
    panel().displayView()->captureQueue().sync([] {});
    const QImage picture = panel().displayView()->mtkView()->grabPicture();
    ASSERT_FALSE(picture.isNull());
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            ASSERT_EQ(picture.pixel(x, y) & 0xFFFFFFU, 0U) << x << "," << y;
}

TEST_F(PanelCameras, ACameraThatComesBackIsShownAgain) {
    start(1);
    const auto key = *panel().cameraSettingKey();
    for (int i = 0; i < 3; ++i) {
        backend_.bus->unplug(1);
        ASSERT_TRUE(waitFor([this] { return panel().devicesArray().empty(); }));
        plug(1);
        ASSERT_TRUE(waitFor([this] { return view().brightnessSlider()->isEnabled(); }));
        const auto drawn = panel().displayView()->mtkView()->drawnFrames();
        EXPECT_TRUE(waitFor([&] { return panel().displayView()->mtkView()->drawnFrames() > drawn + 1; }));
        EXPECT_EQ(*panel().cameraSettingKey(), key);
    }
}

TEST_F(PanelCameras, EveryCameraSwitchLeavesNoProfileSelectedWhateverTheRecordSays) {
    start(2);
    click(view().profile4Button());
    EXPECT_EQ(panel().profileIndex(), 3);
    click(view().camera2Button());
    expectNoProfileSelected();
    click(view().camera1Button());
    expectNoProfileSelected();
    EXPECT_EQ(camera_settings::integer(storedProfile(4), camera_settings::selectedProfileKey), 3);
}

TEST_F(PanelCameras, ACameraSeenForTheFirstTimeGetsARecordOfItsDefaults) {
    start(1);
    const auto device = panel().displayView()->captureDevice();
    EXPECT_EQ(*panel().cameraSettingKey(), "kNSUserDefaultsKeyCameraSettings_" + device->uniqueID());
    EXPECT_EQ(device->uniqueID().size(), 18U);
    EXPECT_TRUE(store_.flushed());
    const PreferencesDictionary expected{{"kNSUserDefaultsKeyBrightness", {std::int64_t(0)}},
                                         {"kNSUserDefaultsKeyContrast", {std::int64_t(32)}},
                                         {"kNSUserDefaultsKeySaturation", {std::int64_t(64)}},
                                         {"kNSUserDefaultsKeyWhiteBalance", {std::int64_t(4600)}},
                                         {"kNSUserDefaultsKeySharpness", {std::int64_t(5)}},
                                         {"kNSUserDefaultsKeyZoom", {std::int64_t(100)}},
                                         {"kNSUserDefaultsKeyPanTilt", {std::int64_t(0)}},
                                         {"kNSUserDefaultsKeyMirror", {std::int64_t(0)}},
                                         {"kNSUserDefaultsKeyPowerLine", {std::int64_t(1)}}};
    for (std::size_t i = 0; i < profileCount; ++i)
        EXPECT_EQ(storedProfile(i), expected);
    const PreferencesDictionary none{{"kNSUserDefaultsKeyCameraSelectedProfileIndex", {std::int64_t(-1)}}};
    EXPECT_EQ(storedProfile(4), none);
}

TEST_F(PanelCameras, ACameraSeenBeforeKeepsItsRecordAndItsOwnValues) {
    const auto firmware = plug(1);
    firmware->setControlValue(control::contrast, 50);
    ASSERT_TRUE(
        waitFor([this] { return !backend_.capture->devicesWithMediaType(MediaType::video).empty(); }));
    const std::string identifier =
        backend_.capture->devicesWithMediaType(MediaType::video).front()->uniqueID();
    const PreferencesValue record{PreferencesArray{{PreferencesDictionary{{"of the user's own", {true}}}}}};
    store_.setObject(record, camera_settings::keyForCamera(identifier));
    start(0);
    EXPECT_EQ(store_.objectForKey(*panel().cameraSettingKey()), record);
    EXPECT_EQ(firmware->controlValue(control::contrast), 50);
    EXPECT_EQ(view().contrastSlider()->intValue(), 50);
}

TEST_F(PanelCameras, ACameraWhoseControlsDoNotAnswerIsShownWithControlsDisabled) {
    const auto firmware = plug(1);
    firmware->order({.kind = FaultKind::stall});
    start(0);
    EXPECT_EQ(shown(), 1);
    EXPECT_TRUE(waitFor([this] { return panel().displayView()->mtkView()->drawnFrames() > 2; }));
    expectControlsEnabled(false);
    EXPECT_FALSE(panel().cameraSettingKey());
    EXPECT_TRUE(store_.empty());
}

TEST_F(PanelCameras, HidingThePreviewAgainExtendsTheTimeUntilItShows) {
    using namespace std::chrono_literals;
    start(1);
    KTMTKView* renderer = panel().displayView()->mtkView();
    panel().hiddenMtkViewAndShowAfterDelay(1ms);
    EXPECT_TRUE(renderer->isHidden());
    panel().hiddenMtkViewAndShowAfterDelay(1h);
    QElapsedTimer elapsed;
    elapsed.start();
    // Much longer than the first delay.
    while (elapsed.elapsed() < 50)
        QCoreApplication::processEvents();
    EXPECT_TRUE(renderer->isHidden());
    panel().hiddenMtkViewAndShowAfterDelay(1ms);
    EXPECT_TRUE(waitFor([&] { return !renderer->isHidden(); }));
}

TEST_F(PanelCameras, TheWindowButtonsCloseAndMinimise) {
    start(1);
    click(view().minButton());
    EXPECT_TRUE(waitFor([this] { return window_.isMinimized(); }));
    windowController_.makeKeyAndOrderFront();
    EXPECT_FALSE(window_.isMinimized());
    click(view().closeButton());
    EXPECT_FALSE(window_.isVisible());
    EXPECT_EQ(shown(), 1) << "the camera's session keeps running";
    windowController_.makeKeyAndOrderFront();
    EXPECT_TRUE(window_.isVisible());
}

} // namespace
} // namespace tavelo
