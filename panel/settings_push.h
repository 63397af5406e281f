// SPDX-License-Identifier: MIT
// Writes a set of settings to the camera in the background.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// Callbacks of a push.  They are called from any thread, do their work later on the main thread, and do
/// nothing once the panel is gone or another camera is bound.
struct SettingsPushEvents {
    /// The camera accepted the value of this control.
    std::function<void(KTUVCControl control)> accepted;
    /// Call `proceed` after the pause.
    std::function<void(std::chrono::milliseconds pause, std::function<void()> proceed)> proceedLater;
};

/// Queues the push on the global thread pool and returns at once.
///
/// Writes one control after another.  If a write fails, the push reopens the camera's interface and goes on
/// with the next control: at once if the camera refused, after a pause if it did not answer.  It ends if the
/// camera is gone or fails to answer a second time.  Two pushes may interleave; the last write of a control
/// wins.  A push writes only to the camera that is bound now, and only what it supports now.
/// @param manager must outlive the push
/// @param shouldGetBright skip the preparation that the camera needs for values of the user's own
void pushSettings(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                  SettingsPushEvents events);

} // namespace tavelo
