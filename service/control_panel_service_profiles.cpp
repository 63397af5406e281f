// SPDX-License-Identifier: MIT
// The stored profiles of a camera.
#include "commands/control_names.h"
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"
#include "service/arguments.h"
#include "service/control_panel_service.h"
#include "service/profile_push.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

std::string namesOf(const std::vector<KTUVCControl>& controls) {
    std::string names;
    for (const KTUVCControl control : controls)
        names += (names.empty() ? "" : ", ") + std::string(namedControl(control).name);
    return names;
}

} // namespace

void ControlPanelService::apply(const Call& call, const QString& camera, unsigned profile) {
    ServiceError error;
    const auto position = arguments::profile(profile, error);
    if (!position) return call.fail(error);
    withControls(call, camera, Needs::classControls,
                 [this, call, position = *position](const Controls& controls) {
                     applyProfile(call, controls, position);
                 });
}

void ControlPanelService::applyProfile(const Call& call, const Controls& controls, std::int64_t position) {
    const std::string name = controls.camera->localizedName();
    const auto record =
        storedRecord(parts_.preferences, camera_settings::keyForCamera(controls.camera->uniqueID()));
    const PreferencesDictionary* const settings = record ? profileAt(*record, position) : nullptr;
    if (settings == nullptr)
        return call.fail(
            {Kind::failed, name + ": profile " + std::to_string(position + 1) + " is not stored yet"});

    if (controls.isShown)
        parts_.host.profileWasApplied(position,
                                      camera_settings::boolean(*settings, camera_settings::mirrorKey));
    pushProfile(controls.manager, *settings, *this,
                [this, call, controls, name,
                 binding = controls.manager->bindingIdentity()](const PushedProfile& pushed) {
                    if (controls.manager->bindingIdentity() != binding)
                        return call.fail({Kind::failed, "the panel shows another camera now"});
                    for (const KTUVCControl control : pushed.taken)
                        tellChanged(controls, control);
                    if (pushed.missing.empty()) return call.answer();
                    if (const auto gone = whyGone(controls)) return call.fail(*gone);
                    call.fail({Kind::refused, name + ": the camera did not take " + namesOf(pushed.missing)});
                });
}

void ControlPanelService::save(const Call& call, const QString& camera, unsigned profile) {
    ServiceError error;
    const auto position = arguments::profile(profile, error);
    if (!position) return call.fail(error);
    withControls(call, camera, Needs::classControls,
                 [this, call, position = *position](const Controls& controls) {
                     saveProfile(call, controls, position);
                 });
}

void ControlPanelService::saveProfile(const Call& call, const Controls& controls, std::int64_t position) {
    const std::string key = camera_settings::keyForCamera(controls.camera->uniqueID());
    const PreferencesDictionary defaults = camera_settings::defaults(*controls.manager);
    auto record = storedRecord(parts_.preferences, key);
    if (!record || profileAt(*record, position) == nullptr) {
        storeProfile(parts_.preferences, key, position, defaults, defaults);
        record = storedRecord(parts_.preferences, key);
    }
    PreferencesDictionary settings = *profileAt(*record, position);
    const bool mirror = controls.isShown ? parts_.host.isMirrored()
                                         : camera_settings::boolean(settings, camera_settings::mirrorKey);
    camera_settings::storeCurrent(settings, *controls.manager, mirror);
    profileSaves_.save(key, static_cast<std::size_t>(position), settings, [call](bool saved) {
        if (saved) return call.answer();
        call.fail({Kind::failed, "nothing was saved: the preferences cannot be written"});
    });
}

} // namespace tavelo
