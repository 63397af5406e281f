// SPDX-License-Identifier: MIT
// Writes a set of settings to the camera.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// Where a push runs, and whom it tells.  All are called from the thread that the push runs on.
struct SettingsPushEvents {
    /// Runs the push, or what is left of it after a pause: now, or later on another thread.
    std::function<void(std::function<void()> work)> run;
    /// Calls `proceed` after the pause.
    std::function<void(std::chrono::milliseconds pause, std::function<void()> proceed)> proceedLater;
    /// Whether the camera took the value of this control.
    std::function<void(KTUVCControl control, bool accepted)> written;
};

/// Writes one control after another.  If a write fails, the push reopens the camera's interface and goes on
/// with the next control: at once if the camera refused, after a pause if it did not answer.  It ends if the
/// camera is gone or fails to answer a second time.  Two pushes may interleave; the last write of a control
/// wins.  A push writes only to the camera that is bound now, and only what it supports now.
/// @param manager must outlive the push
/// @param shouldGetBright skip the preparation that the camera needs for values of the user's own
void pushSettings(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                  SettingsPushEvents events);

/// The same on the calling thread: returns once all is written, after about a second if the camera was
/// silent.
/// @return the controls that the camera did not take, in the order of the profile
std::vector<KTUVCControl> pushSettingsAndWait(KTUVCManager& manager, const PreferencesDictionary& settings,
                                              bool shouldGetBright);

} // namespace tavelo
