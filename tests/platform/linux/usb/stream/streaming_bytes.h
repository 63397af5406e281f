// SPDX-License-Identifier: MIT
// Builds valid and invalid descriptors of streaming interfaces byte by byte.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "descriptor_builder.h"

namespace tavelo::test {

inline Bytes number(std::uint32_t value, unsigned size) {
    Bytes bytes;
    for (unsigned i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8U * i));
    return bytes;
}

inline Bytes setting(std::uint8_t index, std::uint8_t alternate, std::uint8_t subclass = 2) {
    return descriptor({0x04, index, alternate, 1, 0x0E, subclass, 0, 0});
}

inline Bytes controlHeader(std::uint16_t version, const Bytes& interfaces) {
    return descriptor(join({{0x24, 0x01},
                            number(version, 2),
                            {100, 0, 0, 0, 0, 0},
                            {static_cast<std::uint8_t>(interfaces.size())},
                            interfaces}));
}

inline Bytes inputHeader(std::uint8_t endpoint = 0x81) {
    return descriptor({0x24, 0x01, 1, 100, 0, endpoint, 0, 3, 0, 0, 0, 1, 0});
}

inline Bytes rawFormat(std::uint8_t index, std::string_view code,
                       const Bytes& tail = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B,
                                            0x71}) {
    return descriptor(
        join({{0x24, 0x04, index, 1}, Bytes(code.begin(), code.end()), tail, {16, 1, 0, 0, 0, 0}}));
}

inline Bytes jpegFormat(std::uint8_t index) {
    return descriptor({0x24, 0x06, index, 1, 1, 1, 0, 0, 0, 0});
}

/// @param subtype 5 of an uncompressed frame, 7 of a JPEG one
/// @param count bFrameIntervalType, valid or not
inline Bytes frame(std::uint8_t subtype, std::uint8_t index, std::uint32_t width, std::uint32_t height,
                   std::uint8_t count, const std::vector<std::uint32_t>& intervals) {
    Bytes rest = join({{0x24, subtype, index, 0},
                       number(width, 2),
                       number(height, 2),
                       number(1000, 4),
                       number(2000, 4),
                       number(2 * width * height, 4),
                       number(intervals.empty() ? 0 : intervals.front(), 4),
                       {count}});
    for (const std::uint32_t interval : intervals)
        rest = join({rest, number(interval, 4)});
    return descriptor(rest);
}

inline Bytes colours(std::uint8_t matrix) {
    return descriptor({0x24, 0x0D, 1, 1, matrix});
}

/// @param attributes 1 isochronous, 2 bulk, 3 interrupt
inline Bytes endpoint(std::uint8_t address, std::uint8_t attributes, std::uint16_t maxPacketSize) {
    return descriptor(join({{0x05, address, attributes}, number(maxPacketSize, 2), {1}}));
}

inline Bytes companion(std::uint16_t bytesPerInterval) {
    return descriptor(join({{0x30, 0, 0}, number(bytesPerInterval, 2)}));
}

/// Of the isochronous endpoints that are faster still.
inline Bytes plusCompanion(std::uint32_t bytesPerInterval) {
    return descriptor(join({{0x31, 0, 0}, number(bytesPerInterval, 4)}));
}

} // namespace tavelo::test
