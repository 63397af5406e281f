// SPDX-License-Identifier: MIT
// The USB location in a capture device's identifier.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tavelo {

/// The possible locations in one identifier, longest first; 0 if there is none.
struct LocationCandidates {
    std::array<std::uint32_t, 3> locationIDs{};
    /// The requested video-control interface; absent means the device's first one.
    std::optional<std::uint8_t> controlInterface{};

    std::uint32_t operator[](std::size_t index) const { return locationIDs[index]; }
    auto begin() const { return locationIDs.begin(); }
    auto end() const { return locationIDs.end(); }

    friend bool operator==(const LocationCandidates&, const LocationCandidates&) = default;
};

/// Reads the first eight, seven and six hexadecimal digits after "0x".
///
/// Vendor and product follow the location without a separator, and a location may lack its leading zeros, so
/// only the bus can tell which reading is the location.  For every video function of a device except the
/// first, two more digits follow the product: its control interface.  They are only read if the location has
/// all its digits.  Reentrant.
LocationCandidates locationCandidates(std::string_view uniqueID);

} // namespace tavelo
