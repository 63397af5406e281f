// SPDX-License-Identifier: MIT
// Writes a set of settings to the camera in the background.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// What a push asks of whoever shows the camera.  Each may be called from any thread, does its work on the
/// main thread later, and does nothing once the panel is gone or another camera is bound.
struct SettingsPushEvents {
    /// The camera took the value of storedControls[control].
    std::function<void(std::size_t control)> accepted;
    /// Call `proceed` after the pause.
    std::function<void(std::chrono::milliseconds pause, std::function<void()> proceed)> proceedLater;
};

/// Queues the push on the global thread pool and returns at once.
///
/// One write after another, each on its own merits: a refused one does not stop those behind it, for the push
/// opens the camera's interface anew.  A camera that did not answer is left alone for a moment first; one
/// that is gone, or silent for a second time, ends the push.  Two pushes may interleave; the last write of a
/// control wins.  A push is for the camera that is bound now, with what it supports now, and for no other.
/// @param manager outlives the push
/// @param shouldGetBright skip the preparation of the camera for values of the user's own
void pushSettings(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                  SettingsPushEvents events);

} // namespace tavelo
