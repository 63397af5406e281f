// SPDX-License-Identifier: MIT
#include "watch/profile_watch.h"

namespace tavelo {

ProfileWatch::ProfileWatch(const WatchedCamerasParts& cameras, const ProfileWatchParts& parts,
                           const ProfileWatchOptions& options)
    : options_(options),
      parts_(parts),
      resume_(parts.clock,
              [this] {
                  for (const auto& [camera, keeper] : keepers_)
                      keeper->applySoon();
              }),
      cameras_(cameras, events()) {}

WatchedCamerasEvents ProfileWatch::events() {
    WatchedCamerasEvents events;
    events.came = [this](WatchedCamera& camera, Arrival /*arrival*/) {
        keepers_[&camera] = std::make_unique<ProfileKeeper>(camera, options_, parts_);
    };
    events.went = [this](const WatchedCamera& camera) { keepers_.erase(&camera); };
    events.bound = [this](const WatchedCamera& camera) { keepers_.at(&camera)->applySoon(); };
    events.changed = [this](const WatchedCamera& camera, KTUVCControl control, std::int64_t /*before*/) {
        keepers_.at(&camera)->changed(control);
    };
    return events;
}

} // namespace tavelo
