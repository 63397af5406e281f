// SPDX-License-Identifier: MIT
// The header in front of each payload of a video stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tavelo {

struct UvcPayloadHeader {
    std::size_t length = 0; ///< of the header, in bytes
    bool frameIdentifier = false;
    bool endOfFrame = false;
    bool error = false;
    bool still = false;
    std::optional<std::uint32_t> presentationTime; ///< in ticks of the camera's clock
    std::optional<std::uint32_t> sourceClock;      ///< when the header was made, in the same ticks
    std::optional<std::uint16_t> busFrame;         ///< the bus's frame number at that moment, 11 bits
};

/// Nothing if the bytes do not begin with a header.  If a header is too short for the times that it
/// announces, they are absent.  Reentrant.
std::optional<UvcPayloadHeader> parsePayloadHeader(std::span<const std::uint8_t> payload);

} // namespace tavelo
