// SPDX-License-Identifier: MIT
// Writes a set of settings to the camera in the background.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// What a push asks of whoever shows the camera.  Each may be called from any thread, does its work on the
/// main thread later, and does nothing once the panel is gone.
struct SettingsPushEvents {
    /// The camera took the value of storedControls[control].
    std::function<void(std::size_t control)> accepted;
    /// A refused write closed the camera's interface: open it anew, then call `proceed` (on the main thread).
    std::function<void(std::function<void()> proceed)> openAgain;
};

/// Queues the push on the global thread pool and returns at once.
///
/// One write after another, each on its own merits: a refused one does not stop those behind it.  Two pushes
/// may interleave; the last write of a control wins.  A push is meant for the camera that is bound when it
/// starts; where another one is bound in the meantime, the rest is dropped.
/// @param manager outlives the push
/// @param shouldGetBright skip the preparation of the camera for values of the user's own
void pushSettings(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                  SettingsPushEvents events);

} // namespace tavelo
