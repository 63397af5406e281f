// SPDX-License-Identifier: MIT
// Numbers in USB's byte order, the least significant byte first.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tavelo {

// All functions are reentrant.  Bytes beyond a span count as 0.

/// @param size bytes of the number, at most 8
constexpr std::uint64_t littleEndian(std::span<const std::uint8_t> bytes, std::size_t at = 0,
                                     std::size_t size = 8) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size && at + i < bytes.size(); ++i)
        value |= std::uint64_t{bytes[at + i]} << 8U * i;
    return value;
}

constexpr std::uint16_t wordAt(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint16_t>(littleEndian(bytes, at, 2));
}
constexpr std::uint32_t doubleWordAt(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint32_t>(littleEndian(bytes, at, 4));
}

/// The number in all of these bytes, at most eight; the last one holds the sign.
constexpr std::int64_t integerOf(std::span<const std::uint8_t> bytes, bool isSigned) {
    const std::size_t size = std::min<std::size_t>(bytes.size(), 8);
    const std::uint64_t sign = isSigned && size > 0 ? std::uint64_t{1} << (8U * size - 1) : 0;
    return static_cast<std::int64_t>((littleEndian(bytes) ^ sign) - sign);
}

/// Writes the low bytes of `value`, as many as fit into `bytes`; those after the eighth become 0.
constexpr void putLittleEndian(std::uint64_t value, std::span<std::uint8_t> bytes) {
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(value);
        value >>= 8U;
    }
}

inline void appendLittleEndian(std::vector<std::uint8_t>& bytes, std::uint64_t value, std::size_t size) {
    bytes.resize(bytes.size() + size);
    putLittleEndian(value, std::span(bytes).last(size));
}

constexpr std::uint8_t lowByte(std::uint32_t value) {
    return static_cast<std::uint8_t>(value);
}
constexpr std::uint8_t highByte(std::uint32_t value) {
    return static_cast<std::uint8_t>(value >> 8U);
}

} // namespace tavelo
