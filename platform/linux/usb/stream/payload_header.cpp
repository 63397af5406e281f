// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/payload_header.h"

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

std::optional<UvcPayloadHeader> parsePayloadHeader(std::span<const std::uint8_t> payload) {
    if (payload.size() < 2 || payload[0] < 2 || payload[0] > payload.size()) return std::nullopt;
    const auto bytes = payload.first(payload[0]);
    const std::uint8_t flags = bytes[1];
    UvcPayloadHeader header;
    header.length = bytes.size();
    header.frameIdentifier = (flags & uvc::frameIdentifierBit) != 0;
    header.endOfFrame = (flags & uvc::endOfFrameBit) != 0;
    header.error = (flags & uvc::errorBit) != 0;
    header.still = (flags & uvc::stillBit) != 0;
    std::size_t at = 2;
    if ((flags & uvc::presentationTimeBit) != 0) {
        if (bytes.size() >= at + 4) header.presentationTime = doubleWordAt(bytes, at);
        at += 4;
    }
    if ((flags & uvc::sourceClockBit) != 0 && bytes.size() >= at + 6) {
        header.sourceClock = doubleWordAt(bytes, at);
        header.busFrame = static_cast<std::uint16_t>(wordAt(bytes, at + 4) & 0x07FFU);
    }
    return header;
}

} // namespace tavelo
