// SPDX-License-Identifier: MIT
// Applies stored profiles to cameras when they appear, and after the machine slept.
#pragma once

#include <map>
#include <memory>

#include "watch/profile_keeper.h"
#include "watch/resume_watch.h"
#include "watch/watched_cameras.h"

namespace tavelo {

/// Begins when it is made, with the cameras that are there.  Main thread.
class ProfileWatch {
public:
    /// @param parts what `cameras` and `parts` refer to must outlive this
    ProfileWatch(const WatchedCamerasParts& cameras, const ProfileWatchParts& parts,
                 const ProfileWatchOptions& options);

    ProfileWatch(const ProfileWatch&) = delete;
    ProfileWatch& operator=(const ProfileWatch&) = delete;

private:
    WatchedCamerasEvents events();

    const ProfileWatchOptions options_;
    const ProfileWatchParts parts_;
    std::map<const WatchedCamera*, std::unique_ptr<ProfileKeeper>> keepers_;
    ResumeWatch resume_;
    WatchedCameras cameras_; // last: its events use everything above
};

} // namespace tavelo
