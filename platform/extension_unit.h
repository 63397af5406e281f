// SPDX-License-Identifier: MIT
// A unit that a camera's maker put beside those of the class.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>

namespace tavelo {

/// A class identifier, in the order of the bytes on the wire.
using Guid = std::array<std::uint8_t, 16>;

struct ExtensionUnit {
    std::uint8_t id = 0;        ///< entity identifier
    Guid guid{};                ///< what the unit is for
    std::bitset<256> selectors; ///< of the controls that it lists

    friend bool operator==(const ExtensionUnit&, const ExtensionUnit&) = default;
};

} // namespace tavelo
