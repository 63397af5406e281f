// SPDX-License-Identifier: MIT
#include "uvc/location_candidates.h"

#include <charconv>
#include <cstddef>

namespace tavelo {
namespace {

std::uint32_t hexNumber(std::string_view digits) {
    std::uint32_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return number;
}

// The digits after "0x": location, vendor, product, interface.
std::optional<std::uint8_t> controlInterface(std::string_view digits) {
    constexpr std::size_t before = 8 + 4 + 4;
    constexpr std::size_t length = before + 2;
    if (digits.size() != length) return std::nullopt;
    std::uint8_t number = 0;
    const char* const end = digits.data() + length;
    const auto [stopped, error] = std::from_chars(digits.data() + before, end, number, 16);
    if (error != std::errc() || stopped != end) return std::nullopt;
    return number;
}

} // namespace

LocationCandidates locationCandidates(std::string_view uniqueID) {
    constexpr std::string_view prefix = "0x";
    if (!uniqueID.starts_with(prefix)) return {};
    uniqueID.remove_prefix(prefix.size());
    return {{hexNumber(uniqueID.substr(0, 8)), hexNumber(uniqueID.substr(0, 7)),
             hexNumber(uniqueID.substr(0, 6))},
            controlInterface(uniqueID)};
}

} // namespace tavelo
