// SPDX-License-Identifier: MIT
// Where failures of cameras are told: nowhere by default, standard error with --verbose.
#pragma once

#include <string_view>

namespace tavelo {

/// Receives one line for each camera failure that the panel itself keeps quiet about.
/// Thread-safe; never throws; may block for the time of writing one line.
class Diagnostics {
public:
    virtual ~Diagnostics() = default;

    /// @param device what failed, as a person would name it ("/dev/video0", a USB address, an identifier)
    /// @param reason what was tried and why it failed, one line without a line break
    virtual void report(std::string_view device, std::string_view reason) noexcept = 0;
};

} // namespace tavelo
