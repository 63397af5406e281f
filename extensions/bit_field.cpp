// SPDX-License-Identifier: MIT
#include "extensions/bit_field.h"

namespace tavelo {

std::int64_t BitField::lowest() const {
    return isSigned ? -(std::int64_t{1} << (count - 1)) : 0;
}

std::int64_t BitField::highest() const {
    return (std::int64_t{1} << (isSigned ? count - 1 : count)) - 1;
}

std::int64_t BitField::valueIn(std::span<const std::uint8_t> bytes) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t bit = first + i;
        value |= std::uint64_t{bytes[bit / 8] >> bit % 8 & 1U} << i;
    }
    const std::uint64_t sign = isSigned && count > 0 ? std::uint64_t{1} << (count - 1) : 0;
    return static_cast<std::int64_t>((value ^ sign) - sign);
}

void BitField::put(std::int64_t value, std::span<std::uint8_t> bytes) const {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t bit = first + i;
        const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
        const bool isSet = (static_cast<std::uint64_t>(value) >> i & 1U) != 0;
        std::uint8_t& byte = bytes[bit / 8];
        byte = static_cast<std::uint8_t>(isSet ? byte | mask : byte & ~mask);
    }
}

} // namespace tavelo
