// SPDX-License-Identifier: MIT
// The control panel's controller: cameras, controls and profiles.
#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "panel/panel_view.h"
#include "panel/panel_window.h"
#include "panel/profile_saves.h"
#include "panel/reopening_policy.h"
#include "platform/bundle.h"
#include "platform/capture.h"
#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"
#include "video/renderer_choice.h"

namespace tavelo {

struct SettingsPushEvents;

/// What the panel works with; everything outlives it.
struct PanelEnvironment {
    KTUVCManager& uvcManager;
    CapturePlatform& capture;
    PreferencesStore& userDefaults;
    const Bundle& bundle;
    PanelWindow& window;
    RendererChoice renderer = RendererChoice::automatic;
    /// Lets a time pass; may return sooner in a test.
    std::function<void(std::chrono::milliseconds)> pause = [](auto time) {
        std::this_thread::sleep_for(time);
    };
};

/// The single owner of the program's main flow.
///
///     no camera --arrival--> camera shown, not controllable --bound--> camera shown and bound
///
/// Selection moves through switchCameraWithIndex() alone.  Thread-bound to the main thread; the only callback
/// from elsewhere, the bus prober's, does nothing.
class ViewController final : public QObject, public BusProberDelegate, public CaptureDeviceObserver {
    Q_OBJECT

public:
    explicit ViewController(const PanelEnvironment& environment);
    ~ViewController() override;

    /// Starts everything up: prober, widgets, cameras.  Once, before the view is shown.
    void viewDidLoad();

    /// Null before viewDidLoad(); the controller's until putInto().
    PanelView* view() const { return view_; }

    /// Makes the view the whole content of a window, which owns it from then on.  After viewDidLoad().
    void putInto(QWidget& window);

    /// Shows the texts in the bundle's language of now.
    void languageDidChange() { view_->retranslate(bundle_); }

    KTUVCManager& uvcManager() const { return uvcManager_; }
    PreferencesStore& userDefaults() const { return userDefaults_; }
    KTDisplayView* displayView() const { return view_->displayView(); }
    const std::vector<std::shared_ptr<CaptureDevice>>& devicesArray() const { return devicesArray_; }
    /// 0 to 3, or -1 where no profile is selected.
    std::int64_t profileIndex() const { return profileIndex_; }
    /// Nothing while no camera is bound.
    const std::optional<std::string>& cameraSettingKey() const { return cameraSettingKey_; }

    // Cameras
    void readVideoDevice();
    void switchCameraWithIndex(std::size_t index);
    void camera1ButtonAction(QObject* sender);
    void camera2ButtonAction(QObject* sender);
    void addNotifiction();
    void captureDeviceWasConnectedNotification(const std::shared_ptr<CaptureDevice>& device);
    void captureDeviceWasDisconnectedNotification(const std::shared_ptr<CaptureDevice>& device);
    void busProberInformationDidChange() override;
    void setCameraControlViewEnable(bool enable);
    /// Starts the shown camera and its controls afresh, as a switch to it does; without a camera, looks for
    /// one again.
    void reconnectCamera();
    void hiddenMtkViewAndShowAfterDelay(std::chrono::milliseconds delay);
    void hiddenMtkView();
    void showMtkView();
    void closeButtonAction(QObject* sender);
    void minButtonAction(QObject* sender);

    // Controls
    void brightnessSliderAction(KTSlider* sender);
    void contrastSliderAction(KTSlider* sender);
    void saturationSliderAction(KTSlider* sender);
    void whiteBalanceSliderAction(KTSlider* sender);
    void sharpnessSliderAction(KTSlider* sender);
    void zoomSliderAction(KTSlider* sender);
    void panLeftRightSliderAction(KTSlider* sender);
    void panUpDownSliderAction(KTSlider* sender);
    void mirrorSwitchAction(KTSwitch* sender);
    void hz50CheckButtonAction(QObject* sender);
    void hz60CheckButtonAction(QObject* sender);
    void refreshCameraSettingData();

    // Profiles
    void setProfileIndex(std::int64_t index);
    void profile1ButtonAction(QObject* sender);
    void profile2ButtonAction(QObject* sender);
    void profile3ButtonAction(QObject* sender);
    void profile4ButtonAction(QObject* sender);
    void saveProfileButtonAction(QObject* sender);
    void restoreProfileButtonAction(QObject* sender);
    void setCameraWithCameraSettingsDictionaryShouldGetBright(const PreferencesDictionary& settings,
                                                              bool shouldGetBright);

private:
    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override;
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override;
    void connectActions();
    void connectRow(PanelRow row, void (ViewController::*action)(KTSlider*));

    std::optional<std::size_t> indexOf(const std::shared_ptr<CaptureDevice>& device) const;
    std::optional<std::size_t> shownIndex() const;
    /// As many buttons as there are cameras; that of the camera shown is lit.
    void showCameraButtons(std::optional<std::size_t> shown);
    void showProfileStates();
    void createSettingsRecordIfMissing();

    /// Binds to the camera behind the picture and shows its values.  A camera that has no control interface
    /// or answers for no control is shown and not controllable.
    void bindControls(const CaptureDevice& device);
    /// A camera that failed while it was read is read once more after a second of quiet.
    void readAgainAfterQuiet();
    void readAgain();

    /// A failed request closes the camera's interface for good.  Before the panel acts, it opens the
    /// interface anew if the policy allows it.  If the records could not be read before, they are read now,
    /// and the widgets change.
    /// @return whether the widgets showed the camera's own values, so that the user's choice may be sent
    bool prepareAction();
    /// Runs an action of a slider or button that sends a value, unless prepareAction() says no.
    /// @param held whether it is part of a drag that goes on
    void cameraAction(bool held, const std::function<void()>& action);
    bool isBoundAs(BindingIdentity binding) const { return uvcManager_.bindingIdentity() == binding; }

    void sliderAction(PanelRow row, const KTSlider* sender);
    void powerLineAction(std::int64_t value);

    /// Show what the records hold: the label alone, or label and slider.
    void showValueText(PanelRow row);
    void showValue(PanelRow row);
    void showPowerLine();
    void showStoredControl(std::size_t control);

    std::optional<PreferencesArray> settingsRecord() const;
    void storeSettingsRecord(const PreferencesArray& record);
    void profileButtonAction(std::int64_t index);
    SettingsPushEvents pushEvents();

    KTUVCManager& uvcManager_;
    CapturePlatform& capture_;
    PreferencesStore& userDefaults_;
    ProfileSaves profileSaves_{userDefaults_};
    const Bundle& bundle_;
    PanelWindow& window_;
    const RendererChoice renderer_;
    const std::function<void(std::chrono::milliseconds)> pause_;

    std::unique_ptr<PanelView> ownedView_; // until a window takes it
    PanelView* view_ = nullptr;
    QTimer showTimer_{this}; // shows the preview again
    QTimer readAgainTimer_{this};
    ReopeningPolicy reopening_;

    std::vector<std::shared_ptr<CaptureDevice>> devicesArray_;
    std::int64_t profileIndex_ = -1;
    std::optional<std::string> cameraSettingKey_;
    bool observing_ = false;
};

} // namespace tavelo
