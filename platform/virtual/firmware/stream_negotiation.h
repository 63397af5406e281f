// SPDX-License-Identifier: MIT
// Format negotiation between a host and a virtual camera: probe and commit.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// The two controls of the streaming interface.  Reentrant.
class StreamNegotiation {
public:
    /// Bytes of a probe in version 1.1; 1.0 has 26, and 1.5 has 48.
    static constexpr std::size_t probeSize = 34;

    explicit StreamNegotiation(const VirtualCameraModel& model);

    struct Result {
        std::uint8_t errorCode = 0; ///< 0 on success
        std::vector<std::uint8_t> data;
    };
    Result read(std::uint8_t selector, UvcRequest request) const;
    /// A probe is adjusted to the nearest format that the camera offers; a commit must match an offer exactly
    /// or it stalls.  A camera that is like a recorded one stalls a probe of a format that it cannot draw.
    Result write(std::uint8_t selector, std::span<const std::uint8_t> bytes);

    const std::optional<StreamFormat>& committed() const { return committed_; }

private:
    struct Choice {
        std::uint8_t format = 1;
        std::uint8_t frame = 1;
        StreamFormat stream;
    };

    Choice choose(std::uint8_t format, std::uint8_t frame, std::uint32_t interval) const;
    std::vector<std::uint8_t> encode(const Choice& choice) const;

    std::vector<StreamOffer> offers_; // with their indexes
    StreamTransport transport_;
    std::vector<std::uint32_t> payloadSizes_;
    std::bitset<256> undrawnFormats_;
    std::size_t probeSize_ = probeSize;
    Choice probe_;
    std::optional<StreamFormat> committed_;
};

/// The offers grouped by encoding in the order of bFormatIndex.
std::vector<std::vector<StreamOffer>> offersByFormat(const VirtualCameraModel& model);

/// An offer at an interval, with the sizes that follow from it.
/// @param payloadSizes bytes in one service interval at each alternate setting, the smallest first; not used
///     for a bulk endpoint
StreamFormat streamFormat(const StreamOffer& offer, std::uint32_t interval, StreamTransport transport,
                          std::span<const std::uint32_t> payloadSizes);

} // namespace tavelo
