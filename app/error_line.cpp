// SPDX-License-Identifier: MIT
#include "app/error_line.h"

#include <cstdio>

namespace tavelo {

// One call per line, so that lines of several threads do not mix.
void printErrorLine(std::string_view text) noexcept {
    std::fprintf(stderr, "tavelo-control-panel: %.*s\n", static_cast<int>(text.size()), text.data());
}

void printErrorLine(std::string_view subject, std::string_view text) noexcept {
    std::fprintf(stderr, "tavelo-control-panel: %.*s: %.*s\n", static_cast<int>(subject.size()),
                 subject.data(), static_cast<int>(text.size()), text.data());
}

} // namespace tavelo
