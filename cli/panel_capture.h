// SPDX-License-Identifier: MIT
// Stills and movies through a panel that shows the camera.
#pragma once

#include <string>

#include "cli/session.h"

namespace tavelo {

// Each throws Failure if the panel shows the camera and fails.

/// @return false if no panel shows the camera, so that it can be used directly
bool snapshotThroughPanel(Session& session, const std::string& file);

/// Returns when the movie has ended, by itself or by Ctrl+C.
/// @param seconds 0 for no limit
/// @param sound as the user wrote it; empty: none
bool recordThroughPanel(Session& session, const std::string& file, double seconds, const std::string& sound);

} // namespace tavelo
