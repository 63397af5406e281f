// SPDX-License-Identifier: MIT
#include "platform/uvc/guid.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace tavelo {
namespace {

// The first three groups are numbers, the last two are bytes.
constexpr std::array<std::size_t, 16> order{3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

constexpr bool endsGroup(std::size_t place) {
    return place == 4 || place == 6 || place == 8 || place == 10;
}

} // namespace

std::string guidText(const Guid& guid) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (endsGroup(i)) text += '-';
        text += digits[guid[order[i]] >> 4U];
        text += digits[guid[order[i]] & 0x0FU];
    }
    return text;
}

std::optional<Guid> guidOf(std::string_view text) {
    Guid guid{};
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (endsGroup(i)) {
            if (!text.starts_with('-')) return std::nullopt;
            text.remove_prefix(1);
        }
        if (text.size() < 2) return std::nullopt;
        const auto [end, error] = std::from_chars(text.data(), text.data() + 2, guid[order[i]], 16);
        if (error != std::errc() || end != text.data() + 2) return std::nullopt;
        text.remove_prefix(2);
    }
    return text.empty() ? std::optional(guid) : std::nullopt;
}

} // namespace tavelo
