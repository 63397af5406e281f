// SPDX-License-Identifier: MIT
// Reports of camera failures: discarded by default, written to standard error with --verbose.
#pragma once

#include <string_view>

namespace tavelo {

/// Receives one line for each camera failure that the panel does not show.  Thread-safe; never throws; may
/// block while one line is written.
class Diagnostics {
public:
    virtual ~Diagnostics() = default;

    /// @param device what failed, as users know it ("/dev/video0", a USB address, an identifier)
    /// @param reason what was tried and why it failed, without a line break
    virtual void report(std::string_view device, std::string_view reason) noexcept = 0;
};

} // namespace tavelo
