// SPDX-License-Identifier: MIT
// What system calls on files say.
#pragma once

#include <cerrno>

#include "platform/error.h"

namespace tavelo {

/// What errno says of a file, as an error.
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
