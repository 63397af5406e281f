// SPDX-License-Identifier: MIT
#include "process/error_line.h"

#include <cerrno> // declares program_invocation_short_name, the name by which this process was started
#include <cstdio>

namespace tavelo {

// One call per line, so that lines of several threads do not mix.
void printErrorLine(std::string_view text) noexcept {
    std::fprintf(stderr, "%s: %.*s\n", program_invocation_short_name, static_cast<int>(text.size()),
                 text.data());
}

void printErrorLine(std::string_view subject, std::string_view text) noexcept {
    std::fprintf(stderr, "%s: %.*s: %.*s\n", program_invocation_short_name, static_cast<int>(subject.size()),
                 subject.data(), static_cast<int>(text.size()), text.data());
}

} // namespace tavelo
