// SPDX-License-Identifier: MIT
// Why a verb of taveloctl ends early.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "platform/error.h"

namespace tavelo {

/// What taveloctl returns to the shell.
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

/// Ends a verb.  Thrown and caught on the main thread, within runTaveloctl().
class Failure : public std::exception {
public:
    /// @param text one line for the user: what failed, why, and what to do next
    Failure(ExitStatus status, std::string text) : status_(status), text_(std::move(text)) {}

    ExitStatus status() const { return status_; }
    const char* what() const noexcept override { return text_.c_str(); }

private:
    ExitStatus status_;
    std::string text_;
};

} // namespace tavelo
