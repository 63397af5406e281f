// SPDX-License-Identifier: MIT
// Numbers in USB's byte order, the least significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavelo {

/// @param size bytes of the number, at most 4; those beyond the span count as 0
constexpr std::uint32_t littleEndianAt(std::span<const std::uint8_t> bytes, std::size_t at,
                                       std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size && at + i < bytes.size(); ++i)
        value |= std::uint32_t{bytes[at + i]} << 8U * i;
    return value;
}

constexpr void putLittleEndian(std::span<std::uint8_t> bytes, std::size_t at, std::size_t size,
                               std::uint32_t value) {
    for (std::size_t i = 0; i < size && at + i < bytes.size(); ++i)
        bytes[at + i] = static_cast<std::uint8_t>(value >> 8U * i);
}

} // namespace tavelo
