// SPDX-License-Identifier: MIT
// Controls through a panel that holds the camera.
#pragma once

#include <memory>

#include "cli/chosen_controls.h"

namespace tavelo {

/// Null if no panel runs or has the chosen camera.  Without a choice it is the one that the panel shows.
std::unique_ptr<ChosenControls> controlsOfPanel(Session& session);

} // namespace tavelo
