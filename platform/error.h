// SPDX-License-Identifier: MIT
// The closed set of reasons for which a platform operation fails.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tavelo {

enum class ErrorCode : std::uint8_t {
    none,
    busy,    ///< another program holds it
    denied,  ///< we lack the rights
    gone,    ///< the device was unplugged
    refused, ///< the device said no
    timeout, ///< the device did not answer in time
    invalid, ///< it makes no sense to the device, or the device makes no sense to us
};

/// A reason together with a sentence for people (English, no line break, no trailing full stop).
struct Error {
    ErrorCode code = ErrorCode::none;
    std::string text;
    std::string domain{}; ///< whose reason it is, as in "file system"; empty for our own
    /// How much of a movie that failed is in its file all the same, and plays.  Absent if nothing is.
    std::optional<std::chrono::duration<double>> kept{};
};

} // namespace tavelo
