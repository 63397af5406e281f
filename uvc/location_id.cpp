// SPDX-License-Identifier: MIT
#include "uvc/location_id.h"

#include <charconv>
#include <cstddef>

namespace tavelo {
namespace {

std::uint32_t hexNumber(std::string_view digits) {
    std::uint32_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return number;
}

} // namespace

LocationCandidates locationCandidates(std::string_view uniqueID) {
    constexpr std::string_view prefix = "0x";
    if (!uniqueID.starts_with(prefix)) return {};
    uniqueID.remove_prefix(prefix.size());
    return {hexNumber(uniqueID.substr(0, 8)), hexNumber(uniqueID.substr(0, 7)),
            hexNumber(uniqueID.substr(0, 6))};
}

} // namespace tavelo
