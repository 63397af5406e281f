// SPDX-License-Identifier: MIT
#include "uvc/value_coding.h"

#include <algorithm>

namespace tavelo {
namespace {

constexpr std::uint64_t maskOfSize(std::int32_t size) {
    switch (size) {
        case 1:
            return 0xFF;
        case 2:
            return 0xFFFF;
        case 4:
            return 0xFFFF'FFFF;
        case 8:
            return ~std::uint64_t{0};
        default:
            return 0;
    }
}

} // namespace

std::int64_t overlaid(std::int64_t value, std::span<const std::uint8_t> bytes) {
    auto bits = static_cast<std::uint64_t>(value);
    const std::size_t count = std::min(bytes.size(), maxValueSize);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t shift = 8 * i;
        bits &= ~(std::uint64_t{0xFF} << shift);
        bits |= std::uint64_t{bytes[i]} << shift;
    }
    return static_cast<std::int64_t>(bits);
}

void putLittleEndian(std::int64_t value, std::span<std::uint8_t> bytes) {
    auto bits = static_cast<std::uint64_t>(value);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(bits & 0xFF);
        bits >>= 8;
    }
}

std::int64_t integerOf(std::span<const std::uint8_t> bytes, bool isSigned) {
    const std::size_t count = std::min(bytes.size(), maxValueSize);
    const bool isNegative = isSigned && count > 0 && (bytes[count - 1] & 0x80) != 0;
    return overlaid(isNegative ? -1 : 0, bytes);
}

std::optional<ValueFormat> ValueFormat::ofSize(std::int32_t size, bool isSigned) {
    if (size < 0 || size > static_cast<std::int32_t>(maxValueSize)) return std::nullopt;
    const bool hasSign = isSigned && size > 0;
    return ValueFormat(maskOfSize(size), hasSign ? std::uint64_t{1} << (8 * size - 1) : 0);
}

std::int64_t ValueFormat::decode(std::span<const std::uint8_t> reply) const {
    const auto raw = static_cast<std::uint64_t>(overlaid(0, reply));
    if ((raw & signBit_) != 0) return static_cast<std::int64_t>(raw | ~mask_);
    return static_cast<std::int64_t>(raw & mask_);
}

} // namespace tavelo
