// SPDX-License-Identifier: MIT
// Control values as numbers and as the bytes of a request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tavelo {

/// The longest value of any control, in bytes.
inline constexpr std::size_t maxValueSize = 8;

/// Copies bytes, least significant first, over the low bytes of `value`; the other bytes stay.  Bytes after
/// the eighth are ignored.  Reentrant.
std::int64_t overlaid(std::int64_t value, std::span<const std::uint8_t> bytes);

/// The bits of a reply that count, and its sign bit.
class ValueFormat {
public:
    /// Nothing if a value of `size` bytes does not fit into 64 bits.  For sizes that no control of the class
    /// has (0, 3, 5, 6, 7) no bit counts.
    static std::optional<ValueFormat> ofSize(std::int32_t size, bool isSigned);

    /// Sign-extends a signed value; a reply shorter than the size is padded with zeros.
    std::int64_t decode(std::span<const std::uint8_t> reply) const;

private:
    ValueFormat(std::uint64_t mask, std::uint64_t signBit) : mask_(mask), signBit_(signBit) {}

    std::uint64_t mask_;
    std::uint64_t signBit_; // 0 for unsigned values
};

} // namespace tavelo
