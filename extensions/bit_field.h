// SPDX-License-Identifier: MIT
// Some bits of a payload as a number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavelo {

/// Consecutive bits.  Bit 0 is the lowest one of byte 0, bit 8 the lowest one of byte 1: a number that covers
/// several bytes has its least significant byte first, as all of USB's.
struct BitField {
    std::size_t first = 0;
    std::size_t count = 8; ///< 1 to 32
    bool isSigned = false; ///< two's complement

    std::int64_t lowest() const;
    std::int64_t highest() const;
    bool holds(std::int64_t value) const { return value >= lowest() && value <= highest(); }

    // The field must lie within the bytes.

    std::int64_t valueIn(std::span<const std::uint8_t> bytes) const;
    /// Changes no other bit.
    void put(std::int64_t value, std::span<std::uint8_t> bytes) const;

    friend bool operator==(const BitField&, const BitField&) = default;
};

} // namespace tavelo
