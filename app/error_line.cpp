// SPDX-License-Identifier: MIT
#include "app/error_line.h"

#include <cstdio>

namespace tavelo {
namespace {

// One call per line, so that lines of several threads do not mix.
void print(std::string_view subject, std::string_view separator, std::string_view text) noexcept {
    const auto length = [](std::string_view part) { return static_cast<int>(part.size()); };
    std::fprintf(stderr, "tavelo-control-panel: %.*s%.*s%.*s\n", length(subject), subject.data(),
                 length(separator), separator.data(), length(text), text.data());
}

} // namespace

void printErrorLine(std::string_view text) noexcept {
    print({}, {}, text);
}

void printErrorLine(std::string_view subject, std::string_view text) noexcept {
    print(subject, ": ", text);
}

} // namespace tavelo
