// SPDX-License-Identifier: MIT
// The controls whose values a profile stores.
#pragma once

#include <span>
#include <string_view>

#include "uvc/control_table.h"

namespace tavelo {

struct ProfileControl {
    KTUVCControl control;
    std::string_view key; ///< of its entry in a profile
    /// Whether areDefaults() considers it.
    bool decidesDefaults;
};

/// In the order in which a profile is written to the camera.
std::span<const ProfileControl> profileControls();

} // namespace tavelo
