// SPDX-License-Identifier: MIT
// Prints camera failures on the standard error stream.
#pragma once

#include "platform/diagnostics.h"

namespace tavelo {

/// Prints "PROGRAM: DEVICE: REASON" when verbose, nothing otherwise.  Thread-safe.
class StderrDiagnostics final : public Diagnostics {
public:
    explicit StderrDiagnostics(bool verbose) : verbose_(verbose) {}

    void report(std::string_view device, std::string_view reason) noexcept override;

private:
    const bool verbose_;
};

} // namespace tavelo
