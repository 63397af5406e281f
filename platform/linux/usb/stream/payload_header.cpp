// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/payload_header.h"

#include "platform/linux/usb/stream/little_endian.h"

namespace tavelo {
namespace {

// bmHeaderInfo
constexpr std::uint8_t frameIdentifierBit = 0x01;
constexpr std::uint8_t endOfFrameBit = 0x02;
constexpr std::uint8_t presentationTimeBit = 0x04;
constexpr std::uint8_t sourceClockBit = 0x08;
constexpr std::uint8_t stillBit = 0x20;
constexpr std::uint8_t errorBit = 0x40;

} // namespace

std::optional<UvcPayloadHeader> parsePayloadHeader(std::span<const std::uint8_t> payload) {
    if (payload.size() < 2 || payload[0] < 2 || payload[0] > payload.size()) return std::nullopt;
    const auto bytes = payload.first(payload[0]);
    const std::uint8_t flags = bytes[1];
    UvcPayloadHeader header;
    header.length = bytes.size();
    header.frameIdentifier = (flags & frameIdentifierBit) != 0;
    header.endOfFrame = (flags & endOfFrameBit) != 0;
    header.error = (flags & errorBit) != 0;
    header.still = (flags & stillBit) != 0;
    std::size_t at = 2;
    if ((flags & presentationTimeBit) != 0) {
        if (bytes.size() >= at + 4) header.presentationTime = littleEndianAt(bytes, at, 4);
        at += 4;
    }
    if ((flags & sourceClockBit) != 0 && bytes.size() >= at + 6) {
        header.sourceClock = littleEndianAt(bytes, at, 4);
        header.busFrame = static_cast<std::uint16_t>(littleEndianAt(bytes, at + 4, 2) & 0x07FFU);
    }
    return header;
}

} // namespace tavelo
