// SPDX-License-Identifier: MIT
// Takes what a camera's watch reports into the records.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "platform/control_watch.h"
#include "uvc/bound_camera.h"
#include "uvc/control_table.h"

namespace tavelo {

class KTUVCManager;

/// Make it before the watch is started, for the binding of then; once the manager is bound again it takes
/// nothing.  Thread-safe; the manager must outlive it.
class ReportedChanges {
public:
    explicit ReportedChanges(KTUVCManager& manager);

    BindingIdentity identity() const { return camera_.identity(); }

    /// Stores the reported value.  Asks the camera instead, and blocks until it answers, if the value is
    /// unknown, or if this program wrote the control since this object was made: the report may be older than
    /// that.
    ControlRefresh take(KTUVCControl control, const ChangedControl& change) const;
    /// Asks the camera.
    ControlRefresh read(KTUVCControl control) const { return camera_.refreshControl(control); }

private:
    KTUVCManager* manager_;
    BoundCamera camera_;
    std::array<std::optional<std::uint64_t>, controlCount> marks_;
};

} // namespace tavelo
