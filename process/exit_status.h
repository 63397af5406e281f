// SPDX-License-Identifier: MIT
// What the programs return to the shell.
#pragma once

#include <cstdint>

#include "platform/error.h"

namespace tavelo {

enum class ExitStatus : std::uint8_t {
    done = 0,
    failed = 1,   ///< the camera refused, or something else went wrong
    usage = 2,    ///< the command line is wrong
    noCamera = 3, ///< there is no such camera
    busy = 4,     ///< another program holds it
    denied = 5,   ///< no permission
};

constexpr ExitStatus statusOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::none:
            return ExitStatus::done;
        case ErrorCode::busy:
            return ExitStatus::busy;
        case ErrorCode::denied:
            return ExitStatus::denied;
        case ErrorCode::gone:
            return ExitStatus::noCamera;
        default:
            return ExitStatus::failed;
    }
}

} // namespace tavelo
