// SPDX-License-Identifier: MIT
#include "watch/profile_keeper.h"

#include <algorithm>
#include <utility>

#include "profiles/camera_settings.h"
#include "profiles/profile_controls.h"
#include "profiles/settings_push.h"
#include "profiles/stored_profiles.h"
#include "watch/monitor_lines.h"

namespace tavelo {
namespace {

std::string names(const std::vector<KTUVCControl>& controls) {
    std::string text;
    for (const KTUVCControl control : controls)
        text += (text.empty() ? "" : ", ") + controlName(control);
    return text;
}

} // namespace

template <typename F>
void ProfileKeeper::later(std::chrono::milliseconds time, F function) {
    parts_.clock.callAfter(time, [alive = std::weak_ptr<const bool>(alive_), function = std::move(function)] {
        if (!alive.expired()) function();
    });
}

ProfileKeeper::ProfileKeeper(WatchedCamera& camera, const ProfileWatchOptions& options,
                             const ProfileWatchParts& parts)
    : camera_(camera),
      options_(options),
      parts_(parts),
      key_(camera_settings::keyForCamera(camera.device().uniqueID())) {}

std::optional<ProfileKeeper::Stored> ProfileKeeper::stored() const {
    const auto record = storedRecord(parts_.store, key_);
    if (!record) return std::nullopt;
    std::int64_t position = options_.profile.value_or(-1);
    if (!options_.profile) {
        const auto* selected = profileAt(*record, camera_settings::selectedProfilePosition);
        const std::string key(camera_settings::selectedProfileKey);
        if (selected != nullptr && selected->contains(key))
            position = camera_settings::integer(*selected, key);
    }
    if (position >= storedProfileCount) return std::nullopt;
    const auto* profile = profileAt(*record, position);
    return profile != nullptr ? std::optional(Stored{position, *profile}) : std::nullopt;
}

void ProfileKeeper::applySoon() {
    if (!camera_.isBound()) return camera_.takeUp(); // which leads here again
    tries_ = 0;
    stored(); // makes the store look at its file
    later(readingTime, [this] { applyAnew(); });
}

void ProfileKeeper::applyAnew() {
    if (const auto wanted = stored()) return apply(*wanted, {});
    wanted_.reset();
    tell(options_.profile ? "profile " + std::to_string(*options_.profile + 1) + " is not stored yet"
                          : "no profile is selected yet");
}

void ProfileKeeper::apply(const Stored& wanted, std::string because) {
    wanted_ = wanted;
    because_ = std::move(because);
    if (pushes_)
        again_ = true;
    else
        push();
}

void ProfileKeeper::push() {
    if (camera_settings::valuesToWrite(wanted_->profile, camera_.manager()).empty()) return;
    pushes_ = true;
    refused_.clear();
    camera_.beginWriting();
    SettingsPushEvents events;
    events.run = [this](const std::function<void()>& work) {
        pauses_ = false;
        work();
        if (!pauses_) pushed();
    };
    events.proceedLater = [this](std::chrono::milliseconds pause, std::function<void()> proceed) {
        pauses_ = true;
        later(pause, std::move(proceed));
    };
    events.written = [this](KTUVCControl control, bool accepted) {
        if (!accepted) refused_.push_back(control);
    };
    pushSettings(camera_.manager(), wanted_->profile, false, std::move(events));
}

void ProfileKeeper::pushed() {
    pushes_ = false;
    if (std::exchange(again_, false)) return push();
    const ErrorCode failure = camera_.manager().failure();
    taken_.clear();
    for (const auto& each : camera_settings::valuesToWrite(wanted_->profile, camera_.manager())) {
        const KTUVCControl control = each.control->control;
        taken_[control] = {each.value, camera_.manager().record(control)->val()};
    }
    const bool hasAnswered = failure == ErrorCode::none || failure == ErrorCode::refused;
    if (hasAnswered && !options_.keep)
        camera_.letGo();
    else
        camera_.endWriting();
    const std::string profile = "profile " + std::to_string(wanted_->position + 1);
    if (hasAnswered) {
        tell(profile + (because_.empty() ? " applied" : " put back: " + because_) +
             (refused_.empty() ? "" : "; the camera did not take " + names(refused_)));
        return;
    }
    if (failure == ErrorCode::gone) return; // it is said elsewhere, and applied when the camera is back
    const bool triesAgain = ++tries_ < mostTries;
    tell("the camera did not answer, so " + profile + " may not be complete" +
         (triesAgain ? "; trying again" : ""));
    if (triesAgain) later(pauseAfterSilence, [this] { applyAnew(); });
}

void ProfileKeeper::changed(KTUVCControl control) {
    const auto controls = profileControls();
    if (!options_.keep || !wanted_ ||
        std::ranges::find(controls, control, &ProfileControl::control) == controls.end())
        return;
    policy_.disturbed(parts_.clock.now());
    stored(); // makes the store look at its file
    waitUntilDue();
}

void ProfileKeeper::waitUntilDue() {
    if (std::exchange(waits_, true)) return;
    const auto left = policy_.due() - parts_.clock.now();
    later(std::chrono::ceil<std::chrono::milliseconds>(left), [this] {
        waits_ = false;
        // It was disturbed again meanwhile.
        if (parts_.clock.now() < policy_.due()) return waitUntilDue();
        look();
    });
}

void ProfileKeeper::look() {
    if (parts_.panelShowsCamera()) {
        stored();
        waits_ = true;
        later(panelInterval, [this] {
            waits_ = false;
            look();
        });
        return;
    }
    const auto now = stored();
    if (!now || now != wanted_) {
        wanted_ = now;
        taken_.clear();
        return;
    }
    const std::vector<KTUVCControl> changed = differences(now->profile);
    if (changed.empty() || pushes_) return;
    if (policy_.differs(parts_.clock.now()) == KeepingPolicy::Answer::putBack)
        return apply(*now, names(changed));
    tell("another program keeps changing " + names(changed) + "; left alone for a minute");
    waitUntilDue();
}

std::vector<KTUVCControl> ProfileKeeper::differences(const PreferencesDictionary& profile) const {
    std::vector<KTUVCControl> found;
    for (const auto& each : camera_settings::valuesToWrite(profile, camera_.manager())) {
        const KTUVCControl control = each.control->control;
        if (!camera_.manager().controlSupported(control)) continue;
        const auto taken = taken_.find(control);
        const bool isKnown = taken != taken_.end() && taken->second.wanted == each.value;
        const std::int64_t expected = isKnown ? taken->second.value : each.value;
        if (camera_.manager().record(control)->val() != expected) found.push_back(control);
    }
    return found;
}

void ProfileKeeper::tell(const std::string& text) const {
    parts_.print(camera_.device().localizedName() + ": " + text);
}

} // namespace tavelo
