// SPDX-License-Identifier: MIT
// A video-streaming interface as its descriptors describe it, whatever its formats are.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/extension_unit.h"

namespace tavelo {

struct DescribedFrame {
    std::uint8_t index = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t defaultInterval = 0; ///< in 100 ns, like all intervals
    /// Each interval; for a continuous range the shortest, the longest and the step.
    std::vector<std::uint32_t> intervals;
    bool isContinuous = false;
};

struct DescribedFormat {
    std::uint8_t index = 0;
    std::uint8_t subtype = 0; ///< of its descriptor
    Guid guid{};              ///< zeroes for a format that has none
    std::vector<DescribedFrame> frames;

    /// "YUY2", "MJPEG", or the identifier in hexadecimal digits.
    std::string name() const;
};

enum class StreamingEndpointKind : std::uint8_t { isochronous, bulk };

/// An endpoint of an alternate setting that carries video.
struct DescribedSetting {
    std::uint8_t alternate = 0;
    std::uint8_t endpoint = 0; ///< its address, direction bit included
    StreamingEndpointKind kind = StreamingEndpointKind::isochronous;
    std::uint32_t bytes = 0; ///< isochronous: in one service interval; bulk: of one packet
};

struct StreamingDescription {
    std::uint8_t interface = 0;
    std::uint8_t endpoint = 0; ///< the one that the header names; 0 without a header
    std::vector<DescribedFormat> formats;
    std::vector<DescribedSetting> settings;
};

/// Accepts any bytes and leaves out what is cut off.  Pure and reentrant.
StreamingDescription streamingDescription(std::span<const std::uint8_t> configurationDescriptor,
                                          std::uint8_t interfaceNumber);

} // namespace tavelo
