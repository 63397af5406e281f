// SPDX-License-Identifier: MIT
// The USB location in a capture device's identifier.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace tavelo {

/// One identifier read three times, longest reading first; 0 where there is nothing to read.
using LocationCandidates = std::array<std::uint32_t, 3>;

/// Reads the first eight, seven and six hexadecimal digits after "0x".
///
/// The identifier goes on with vendor and product right behind the location, and a location may have lost its
/// leading zeros, so that only the bus can tell which reading is the location.  Reentrant.
LocationCandidates locationCandidates(std::string_view uniqueID);

} // namespace tavelo
