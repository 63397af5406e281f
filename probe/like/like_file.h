// SPDX-License-Identifier: MIT
// Cameras that are like one in a camera pack.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/error.h"
#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// Cameras 1 to `count`, all like the one in the file; see docs/probe-pack.md.  Nothing, with the reason, if
/// the file cannot be read or is no camera pack that this program knows.
std::optional<std::vector<VirtualCameraModel>> modelsLike(const std::string& path, int count, Error& error);

} // namespace tavelo
