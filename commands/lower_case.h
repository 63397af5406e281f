// SPDX-License-Identifier: MIT
// Words without regard to case.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace tavelo {

/// ASCII letters only, whatever the locale.
constexpr char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

inline std::string lowerCase(std::string_view text) {
    std::string low(text);
    std::ranges::transform(low, low.begin(), [](char letter) { return lowerCase(letter); });
    return low;
}

} // namespace tavelo
