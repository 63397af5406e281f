// SPDX-License-Identifier: MIT
// Finds the camera that the user means.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/capture.h"

namespace tavelo {

/// What a camera can be named by.
struct CameraNames {
    std::string identifier;
    std::string node; ///< may be empty
    std::string name;
};

/// The position of the camera that a text names, or nothing with the reason.
/// @param text a number from 1, an identifier, a node ("/dev/video0"), or a name or a part of one that only
///     one camera has; empty is possible if there is one camera
std::optional<std::size_t> chooseCamera(std::span<const CameraNames> cameras, std::string_view text,
                                        std::string& reason);
std::optional<std::size_t> chooseCamera(const std::vector<std::shared_ptr<CaptureDevice>>& cameras,
                                        std::string_view text, std::string& reason);

} // namespace tavelo
