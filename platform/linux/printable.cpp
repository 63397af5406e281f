// SPDX-License-Identifier: MIT
#include "platform/linux/printable.h"

#include <algorithm>

namespace tavelo {

std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
    return text;
}

std::string printableAscii(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

} // namespace tavelo
