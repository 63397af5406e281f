// SPDX-License-Identifier: MIT
// Why a platform operation failed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tavelo {

enum class ErrorCode : std::uint8_t {
    none,
    busy,    ///< another program holds it
    denied,  ///< no permission
    gone,    ///< the device was unplugged
    refused, ///< the device refused the request
    timeout, ///< the device did not answer in time
    invalid, ///< the request is invalid for the device, or its answer is invalid
    closed,  ///< it was closed before
    failed,  ///< any other fault
};

/// An error code and a message for the user (English, no line break, no trailing full stop).
struct Error {
    ErrorCode code = ErrorCode::none;
    std::string text;
    std::string domain{}; ///< where the error comes from, such as "file system"; empty for our own
    /// How much of a failed movie is in its file and plays.  Absent if nothing is.
    std::optional<std::chrono::duration<double>> kept{};
};

} // namespace tavelo
