// SPDX-License-Identifier: MIT
// What a program does about its own crashes.
#pragma once

#include <string_view>

namespace tavelo {

/// Prints where the reports of earlier crashes of this program lie, each once, and lets a crash of this
/// process leave one.  First in main().
void reportCrashesOf(std::string_view program, std::string_view version);

} // namespace tavelo
