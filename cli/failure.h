// SPDX-License-Identifier: MIT
// Why a verb of taveloctl ends early.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "process/exit_status.h"

namespace tavelo {

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
