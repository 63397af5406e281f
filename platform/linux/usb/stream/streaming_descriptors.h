// SPDX-License-Identifier: MIT
// The formats, sizes, rates and endpoints that a video-streaming interface offers.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pictures/frame_converter.h"

namespace tavelo {

/// One size in one format, from a frame descriptor.
struct UvcFrameOffer {
    std::uint8_t formatIndex = 0;
    std::uint8_t frameIndex = 0;
    Fourcc format = 0;
    FrameSize size;
    std::uint32_t maxFrameSize = 0;            ///< in bytes; often wrong
    std::uint32_t defaultInterval = 0;         ///< in 100 ns
    std::vector<FrameIntervalRange> intervals; ///< in units of 100 ns
    YuvMatrix matrix = YuvMatrix::bt601;
};

/// Units of a frame interval per second.
inline constexpr std::uint32_t intervalUnits = 10'000'000;

enum class UvcEndpointKind : std::uint8_t { isochronous, bulk };

/// An alternate setting that can carry video.
struct UvcStreamSetting {
    std::uint8_t alternate = 0;
    std::uint8_t endpoint = 0; ///< its address, direction bit included
    UvcEndpointKind kind = UvcEndpointKind::isochronous;
    /// Bytes.  Isochronous: everything in one service interval, over all its transactions; bulk: one
    /// packet.
    std::uint32_t packetSize = 0;
};

struct UvcStreamingInterface {
    std::uint16_t version = 0x0100; ///< bcdUVC
    std::vector<UvcFrameOffer> offers;
    std::vector<UvcStreamSetting> settings;
};

/// Parses the descriptors of one streaming interface.  The bytes come from the device and are hostile:
/// nothing outside the span is read, and what makes no sense is left out.  So are formats that we cannot
/// convert and sizes beyond frame_bounds.h.  Reentrant.
UvcStreamingInterface streamingInterfaceOf(std::span<const std::uint8_t> configurationDescriptor,
                                           std::uint8_t interfaceNumber);

/// The setting for payloads of that size: the smallest isochronous one that carries them (the smallest of
/// all if the camera names no size), else a bulk endpoint.  Null if there is none.
const UvcStreamSetting* settingFor(const UvcStreamingInterface& interface, std::uint32_t payloadSize);

} // namespace tavelo
