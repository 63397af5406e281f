// SPDX-License-Identifier: MIT
// Errors of system calls.
#pragma once

#include <cerrno>
#include <string>

#include "platform/error.h"

namespace tavelo {

/// The code for an errno; none for 0.
ErrorCode errorCodeOfErrno(int errorNumber);

/// Turns the errno of a file operation into an error.
Error fileError(int errorNumber);

/// @param what failed, as in "the movie file cannot be made"
Error fileError(int errorNumber, const std::string& what);

/// Repeats a system call that a signal interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace tavelo
