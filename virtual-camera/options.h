// SPDX-License-Identifier: MIT
// The command line of tavelo-virtual-camera.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

struct Options {
    std::uint16_t port = 3240;
    int cameras = 1;
    bool bulk = false;
    bool twoFunctions = false;
    std::optional<StreamEncoding> encoding; ///< offer this one only
    std::string like;                       ///< a camera pack; empty: none
    std::string log;                        ///< empty: none
    std::string control;                    ///< empty: none
};

/// A text to print before the program exits.
struct Message {
    std::string text;
    int exitStatus = 0; ///< 0 for help and version, 2 for a mistake on the command line
};

/// @param version what --version prints after the program's name
std::variant<Options, Message> parseOptions(int argumentCount, const char* const* arguments,
                                            const std::string& version);

/// The cameras that the options request, if they name no camera pack.
std::vector<VirtualCameraModel> modelsFor(const Options& options);

} // namespace tavelo
