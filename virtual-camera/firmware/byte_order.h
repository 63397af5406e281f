// SPDX-License-Identifier: MIT
// Little-endian numbers, as USB uses them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tavelo {

inline void appendLittleEndian(std::vector<std::uint8_t>& bytes, std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(i < 8 ? static_cast<std::uint8_t>(value >> 8U * i) : std::uint8_t{0});
}

/// Reads at most the first eight bytes.
inline std::uint64_t littleEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size() && i < 8; ++i)
        value |= std::uint64_t{bytes[i]} << 8U * i;
    return value;
}

} // namespace tavelo
