// SPDX-License-Identifier: MIT
// The program's messages on the standard error stream.
#pragma once

#include <string_view>

namespace tavelo {

/// Prints "PROGRAM: TEXT" as one line, which does not mix with those of other threads.
/// Thread-safe.
void printErrorLine(std::string_view text) noexcept;

/// The same with "SUBJECT: TEXT".
void printErrorLine(std::string_view subject, std::string_view text) noexcept;

} // namespace tavelo
