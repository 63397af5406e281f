// SPDX-License-Identifier: MIT
// Writes a profile to a camera in the background, and says when it is done.
#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <vector>

#include "profiles/settings_push.h"

namespace tavelo {

/// What became of each control of the profile.
struct PushedProfile {
    std::vector<KTUVCControl> taken;
    std::vector<KTUVCControl> missing;
};

/// Writes on the global thread pool.  Main thread.
/// @param manager kept until the end, and released on the main thread
/// @param context lives on the main thread until the pool is done; `ended` is not called once it is gone
/// @param ended called later on the main thread
void pushProfile(std::shared_ptr<KTUVCManager> manager, const PreferencesDictionary& settings,
                 QObject& context, std::function<void(const PushedProfile& profile)> ended);

} // namespace tavelo
