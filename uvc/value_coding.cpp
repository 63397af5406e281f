// SPDX-License-Identifier: MIT
#include "uvc/value_coding.h"

#include "platform/uvc/little_endian.h"

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
    const std::uint64_t kept = bytes.size() < maxValueSize ? ~std::uint64_t{0} << 8 * bytes.size() : 0;
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(value) & kept) | littleEndian(bytes));
}

std::optional<ValueFormat> ValueFormat::ofSize(std::int32_t size, bool isSigned) {
    if (size < 0 || size > static_cast<std::int32_t>(maxValueSize)) return std::nullopt;
    const bool hasSign = isSigned && size > 0;
    return ValueFormat(maskOfSize(size), hasSign ? std::uint64_t{1} << (8 * size - 1) : 0);
}

std::int64_t ValueFormat::decode(std::span<const std::uint8_t> reply) const {
    const auto raw = littleEndian(reply);
    if ((raw & signBit_) != 0) return static_cast<std::int64_t>(raw | ~mask_);
    return static_cast<std::int64_t>(raw & mask_);
}

} // namespace tavelo
