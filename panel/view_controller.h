// SPDX-License-Identifier: MIT
// The control panel's controller: cameras, controls and profiles.
#pragma once

#include <QObject>
#include <QTimer>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "panel/control_follower.h"
#include "panel/panel_view.h"
#include "panel/reopening_policy.h"
#include "platform/bundle.h"
#include "platform/capture.h"
#include "platform/preferences_store.h"
#include "profiles/profile_saves.h"
#include "uvc/kt_uvc_manager.h"
#include "video/renderer_choice.h"

namespace tavelo {

struct AutomaticFunction;
struct SettingsPushEvents;

/// The two walks over all controls.
enum class ControlWalk : std::uint8_t {
    defaults,   ///< writes the camera's defaults
    heldValues, ///< writes the values that the records hold
};

/// What the panel works with.  Everything must outlive it.
struct PanelOptions {
    KTUVCManager& uvcManager;
    CapturePlatform& capture;
    PreferencesStore& userDefaults;
    const Bundle& bundle;
    RendererChoice renderer = RendererChoice::automatic;
    /// Sleeps; tests may replace it.
    std::function<void(std::chrono::milliseconds)> pause = [](auto time) {
        std::this_thread::sleep_for(time);
    };
    /// Bind the first camera while the window already stands, and not in viewDidLoad().
    bool bindsFirstCameraLater = false;
};

/// Connects cameras, controls and profiles to the widgets.
///
///     no camera --arrival--> camera shown, not controllable --bound--> camera shown and bound
///
/// Only switchCameraWithIndex() changes which camera is shown.  Thread-bound to the main thread, except the
/// bus prober's callback, which does nothing.
class ViewController final : public QObject, public BusProberDelegate, public CaptureDeviceObserver {
    Q_OBJECT

public:
    explicit ViewController(const PanelOptions& options);
    ~ViewController() override;

    /// Sets up prober, widgets and cameras.  Call once, before the view is shown.
    void viewDidLoad();

    /// Null before viewDidLoad().  Owned by the controller until putInto().
    PanelView* view() const { return view_; }

    /// Makes the view the whole content of a window, which takes ownership.  Call after viewDidLoad().
    void putInto(QWidget& window);

    /// Shows the texts in the bundle's current language.
    void languageDidChange() { view_->retranslate(bundle_); }

    KTUVCManager& uvcManager() const { return uvcManager_; }
    PreferencesStore& userDefaults() const { return userDefaults_; }
    KTDisplayView* displayView() const { return view_->displayView(); }
    const std::vector<std::shared_ptr<CaptureDevice>>& devicesArray() const { return devicesArray_; }
    /// Null if none is shown.
    std::shared_ptr<CaptureDevice> shownCamera() const;
    /// 0 to 3, or -1 if no profile is selected.
    std::int64_t profileIndex() const { return profileIndex_; }
    /// Empty while no camera is bound.
    const std::optional<std::string>& cameraSettingKey() const { return cameraSettingKey_; }

    // Cameras
    void readVideoDevice();
    void switchCameraWithIndex(std::size_t index);
    void camera1ButtonAction(QObject* sender);
    void camera2ButtonAction(QObject* sender);
    /// Switches to a camera of devicesArray(), unless it is shown already.
    void showCamera(const std::shared_ptr<CaptureDevice>& camera);
    /// Binds a camera that settles still, after the rest of its time.  Call before its controls are used for
    /// somebody who does not see the panel.
    void finishBinding();
    void addNotifiction();
    void captureDeviceWasConnectedNotification(const std::shared_ptr<CaptureDevice>& device);
    void captureDeviceWasDisconnectedNotification(const std::shared_ptr<CaptureDevice>& device);
    void busProberInformationDidChange() override;
    void setCameraControlViewEnable(bool enable);
    /// Restarts the shown camera and its controls, like a switch to it.  If there is none, looks for cameras
    /// again.
    void reconnectCamera();
    /// Stops the shown camera's stream and closes its controls, so that other programs can have it, until
    /// takeCamera() or a switch.  No camera is shown meanwhile, not even one that is plugged in.
    void releaseCamera();
    /// Shows the released camera again, or the first one if it is gone.  Does nothing if none is released.
    void takeCamera();
    bool cameraIsReleased() const { return releasedCamera_.has_value(); }
    void hiddenMtkViewAndShowAfterDelay(std::chrono::milliseconds delay);
    void hiddenMtkView();
    void showMtkView();
    void closeButtonAction(QObject* sender);
    void minButtonAction(QObject* sender);

    // Controls
    void brightnessSliderAction(KTSlider* sender) { sliderAction(PanelRow::brightness, sender); }
    void contrastSliderAction(KTSlider* sender) { sliderAction(PanelRow::contrast, sender); }
    void saturationSliderAction(KTSlider* sender) { sliderAction(PanelRow::saturation, sender); }
    void whiteBalanceSliderAction(KTSlider* sender) { sliderAction(PanelRow::whiteBalance, sender); }
    void sharpnessSliderAction(KTSlider* sender) { sliderAction(PanelRow::sharpness, sender); }
    void zoomSliderAction(KTSlider* sender) { sliderAction(PanelRow::zoom, sender); }
    void panLeftRightSliderAction(KTSlider* sender) { sliderAction(PanelRow::panLeftRight, sender); }
    void panUpDownSliderAction(KTSlider* sender) { sliderAction(PanelRow::panUpDown, sender); }
    void mirrorSwitchAction(KTSwitch* sender);
    void hz50CheckButtonAction(QObject* sender);
    void hz60CheckButtonAction(QObject* sender);
    /// Switches one of the camera's automatic functions.
    void setAutomatic(const AutomaticFunction& function, bool on);
    void refreshCameraSettingData();
    /// Shows a value that another part of the program wrote; the manager's record holds it already.
    void controlDidChange(KTUVCControl control);
    /// Writes a control of the shown camera as a slider's action does, and shows what the camera took.
    /// @param control nothing for one that no record holds
    /// @param held whether it is part of a drag that continues
    /// @param write writes the control and returns whether the camera took the value; called at once or not
    ///     at all
    /// @return whether the camera took the value
    bool writeControl(std::optional<KTUVCControl> control, bool held,
                      const std::function<bool(KTUVCManager&)>& write);
    /// Walks over all controls on the global pool; controlWalkEnded() follows.
    void walkControls(ControlWalk walk);
    /// Call when one of the program's windows gets the focus.  If the camera's transport does not tell of
    /// changes, the values are read in the background.
    void windowWasActivated();

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

Q_SIGNALS:
    /// The user asked to close or to minimise the window.
    void closeRequested();
    void miniaturizeRequested();

    /// The camera took a value from the panel, or somebody outside the program changed it; the manager's
    /// record holds it.
    void controlChanged(tavelo::KTUVCControl control);
    /// The same, and also for values that other parts of the program wrote.
    void recordChanged(tavelo::KTUVCControl control);
    /// The controls were bound to the shown camera, or could not be: all records may be others.
    void controlsBound();
    void controlWalkEnded();
    /// Another camera is shown, or none.
    void shownCameraChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override;
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override;
    void connectActions();
    void listCameras();

    std::optional<std::size_t> indexOf(const std::shared_ptr<CaptureDevice>& device) const;
    std::optional<std::size_t> shownIndex() const;
    /// Shows one button per camera, and selects that of the camera shown.
    void showCameraButtons(std::optional<std::size_t> shown);
    void showProfileStates();
    void createSettingsRecordIfMissing();

    /// Binds the controls to the camera shown and displays its values.  A camera without a control interface,
    /// or one that answers for no control, is shown with its controls disabled.
    void bindControls(const CaptureDevice& device);
    void didSettle();
    void bindNewCamera(const CaptureDevice& device);
    /// After a read failure, reads the camera once more when there was no user action for a second.
    void readAgainAfterQuiet();
    void readAgain();

    /// Reopens the camera's interface if a failed request closed it and the policy allows it.  If the
    /// camera's values could not be read before, reads them now and updates the widgets.
    /// @return whether the widgets already showed the camera's values, so that the user's choice may be sent
    bool prepareAction();
    /// Runs a slider's or button's action that sends a value, unless prepareAction() returns false.
    /// @param control nothing for one that no record holds
    /// @param held whether it is part of a drag that continues
    void cameraAction(bool held, const std::function<void()>& action);
    bool isBoundAs(BindingIdentity binding) const { return uvcManager_.bindingIdentity() == binding; }

    void sliderAction(PanelRow row, const KTSlider* sender);
    void powerLineAction(std::int64_t value);

    /// Show the values last read: the first only in the label, the second in label and slider.
    void showValueText(PanelRow row);
    void showValue(PanelRow row);
    void showPowerLine();
    void showControl(KTUVCControl control);
    /// Shows a value in label and slider, but leaves a slider alone that the user holds.
    void showValueUnlessHeld(PanelRow row);
    void dragEnded(PanelRow row);
    /// Tells others of a value that they do not know yet.
    void tellChanged(KTUVCControl control);
    void controlWasFollowed(KTUVCControl control);

    std::optional<PreferencesArray> settingsRecord() const;
    void storeSettingsRecord(const PreferencesArray& record);
    void profileButtonAction(std::int64_t index);
    SettingsPushEvents pushEvents();

    KTUVCManager& uvcManager_;
    CapturePlatform& capture_;
    PreferencesStore& userDefaults_;
    ProfileSaves profileSaves_{userDefaults_};
    const Bundle& bundle_;
    const RendererChoice renderer_;
    const std::function<void(std::chrono::milliseconds)> pause_;
    const bool bindsFirstCameraLater_;

    std::unique_ptr<PanelView> ownedView_; // until a window owns it
    PanelView* view_ = nullptr;
    QTimer showTimer_{this}; // shows the preview again
    QTimer readAgainTimer_{this};
    QTimer settleTimer_{this}; // runs until the first camera is bound, if that is done later
    ReopeningPolicy reopening_;
    ControlFollower follower_{uvcManager_};
    /// The rows whose slider was held when its control changed, and was not set since.
    std::array<bool, panelRowCount> isBehind_{};

    std::vector<std::shared_ptr<CaptureDevice>> devicesArray_;
    std::optional<std::string> releasedCamera_; // its identifier, which it keeps when it is plugged in again
    std::int64_t profileIndex_ = -1;
    std::optional<std::string> cameraSettingKey_;
    bool observing_ = false;
};

} // namespace tavelo
