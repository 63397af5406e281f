// SPDX-License-Identifier: MIT
// The USB location in a capture device's identifier.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tavelo {

/// One identifier read three times, longest reading first; 0 where there is nothing to read.
struct LocationCandidates {
    std::array<std::uint32_t, 3> locationIDs{};
    /// The video-control interface that is meant; nothing means the device's first one.
    std::optional<std::uint8_t> controlInterface{};

    std::uint32_t operator[](std::size_t index) const { return locationIDs[index]; }
    auto begin() const { return locationIDs.begin(); }
    auto end() const { return locationIDs.end(); }

    friend bool operator==(const LocationCandidates&, const LocationCandidates&) = default;
};

/// Reads the first eight, seven and six hexadecimal digits after "0x".
///
/// The identifier goes on with vendor and product right behind the location, and a location may have lost its
/// leading zeros, so that only the bus can tell which reading is the location.  For every video function of a
/// device but the first, two more digits follow the product: its control interface.  These are only read from
/// an identifier whose location has all its digits.  Reentrant.
LocationCandidates locationCandidates(std::string_view uniqueID);

} // namespace tavelo
