// SPDX-License-Identifier: MIT
// Errors of system calls on files.
#pragma once

#include <cerrno>

#include "platform/error.h"

namespace tavelo {

/// Turns the errno of a file operation into an error.
Error fileError(int errorNumber);

/// Repeats a system call that a signal interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace tavelo
