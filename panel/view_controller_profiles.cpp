// SPDX-License-Identifier: MIT
// The four profiles of a camera: selecting, applying, saving, restoring.
#include <QPointer>
#include <QThreadPool>
#include <utility>

#include "panel/on_main_thread.h"
#include "panel/saved_alert.h"
#include "panel/view_controller.h"
#include "profiles/camera_settings.h"
#include "profiles/settings_push.h"
#include "profiles/stored_profiles.h"
#include "video/kt_display_view.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_switch.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// How long the picture is hidden while the camera applies a profile.
constexpr auto profileSettleTime = 300ms;

} // namespace

void ViewController::createSettingsRecordIfMissing() {
    if (userDefaults_.objectForKey(*cameraSettingKey_)) return;
    userDefaults_.setObjectIfMissing(
        {camera_settings::newRecord(camera_settings::defaults(uvcManager_), profileIndex_)},
        *cameraSettingKey_);
    userDefaults_.synchronize({});
}

std::optional<PreferencesArray> ViewController::settingsRecord() const {
    return cameraSettingKey_ ? storedRecord(userDefaults_, *cameraSettingKey_) : std::nullopt;
}

void ViewController::storeSettingsRecord(const PreferencesArray& record) {
    userDefaults_.setObject({record}, *cameraSettingKey_);
    userDefaults_.synchronize({});
}

void ViewController::setProfileIndex(std::int64_t index) {
    profileIndex_ = index;
    for (std::size_t i = 0; i < profileCount; ++i)
        view_->profileButtons()[i]->setState(static_cast<std::int64_t>(i) == index ? 1 : 0);

    auto record = settingsRecord();
    if (!record) return;
    const PreferencesValue selected{camera_settings::selectedProfileEntry(index)};
    if (record->size() <= camera_settings::selectedProfilePosition)
        record->push_back(selected);
    else
        (*record)[camera_settings::selectedProfilePosition] = selected;
    storeSettingsRecord(*record);
}

void ViewController::profile1ButtonAction(QObject* /*sender*/) {
    profileButtonAction(0);
}

void ViewController::profile2ButtonAction(QObject* /*sender*/) {
    profileButtonAction(1);
}

void ViewController::profile3ButtonAction(QObject* /*sender*/) {
    profileButtonAction(2);
}

void ViewController::profile4ButtonAction(QObject* /*sender*/) {
    profileButtonAction(3);
}

void ViewController::profileButtonAction(std::int64_t index) {
    setProfileIndex(index);
    const auto record = settingsRecord();
    if (!record) return;
    const PreferencesDictionary* profile = profileAt(*record, index);
    if (profile == nullptr) return;
    setCameraWithCameraSettingsDictionaryShouldGetBright(*profile, false);
    hiddenMtkViewAndShowAfterDelay(profileSettleTime);
}

void ViewController::saveProfileButtonAction(QObject* /*sender*/) {
    view_->saveProfileButton()->setState(1);
    if (profileIndex_ < 0) return;
    const auto record = settingsRecord();
    if (!record) return;
    const PreferencesDictionary* stored = profileAt(*record, profileIndex_);
    if (stored == nullptr) return;
    PreferencesDictionary profile = *stored;
    camera_settings::storeCurrent(profile, uvcManager_, view_->mirrorSwitch()->on());
    // If saving fails, the store reports why.  The alert must not reopen a window closed meanwhile.
    profileSaves_.save(*cameraSettingKey_, static_cast<std::size_t>(profileIndex_), profile,
                       [this](bool saved) {
                           if (saved && view_->isVisible()) showSavedAlert(view_, bundle_);
                       });
}

void ViewController::restoreProfileButtonAction(QObject* /*sender*/) {
    view_->restoreProfileButton()->setState(0);
    prepareAction(); // may have to read the defaults first
    setCameraWithCameraSettingsDictionaryShouldGetBright(camera_settings::defaults(uvcManager_), true);
}

void ViewController::setCameraWithCameraSettingsDictionaryShouldGetBright(
    const PreferencesDictionary& settings, bool shouldGetBright) {
    prepareAction();
    // The result of prepareAction() does not matter here: stored values do not depend on what was shown.
    if (uvcManager_.recordsAreRead()) pushSettings(uvcManager_, settings, shouldGetBright, pushEvents());
    reopening_.actionEnded(uvcManager_.now(), false);

    const bool mirror = camera_settings::boolean(settings, camera_settings::mirrorKey);
    if (displayView() != nullptr) displayView()->mtkView()->setShouldFlipHorizontal(mirror);
    view_->mirrorSwitch()->setOn(mirror);
}

SettingsPushEvents ViewController::pushEvents() {
    const QPointer<ViewController> panel(this);
    SettingsPushEvents events;
    events.run = [](std::function<void()> work) { QThreadPool::globalInstance()->start(std::move(work)); };
    events.written = [panel, binding = uvcManager_.bindingIdentity()](KTUVCControl control, bool accepted) {
        if (!accepted) return;
        onMainThread(panel, [control, binding](ViewController& self) {
            if (!self.isBoundAs(binding)) return;
            self.showControl(control);
            self.tellChanged(control);
        });
    };
    events.proceedLater = [panel](std::chrono::milliseconds pause, std::function<void()> proceed) {
        onMainThread(panel, [pause, proceed = std::move(proceed)](ViewController& self) {
            QTimer::singleShot(pause, &self, proceed);
        });
    };
    return events;
}

} // namespace tavelo
