// SPDX-License-Identifier: MIT
// Format negotiation between a host and a virtual camera: probe and commit.
#pragma once

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
    /// Bytes of a probe in version 1.1.
    static constexpr std::size_t probeSize = 34;

    explicit StreamNegotiation(const VirtualCameraModel& model);

    struct Result {
        std::uint8_t errorCode = 0; ///< 0 on success
        std::vector<std::uint8_t> data;
    };
    Result read(std::uint8_t selector, UvcRequest request) const;
    /// A probe is adjusted to the nearest format that the camera offers; a commit must match an offer exactly
    /// or it stalls.
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

    std::vector<std::vector<StreamOffer>> formats_; // by bFormatIndex and bFrameIndex, both minus 1
    StreamTransport transport_;
    Choice probe_;
    std::optional<StreamFormat> committed_;
};

/// The offers grouped by encoding in the order of bFormatIndex.
std::vector<std::vector<StreamOffer>> offersByFormat(const VirtualCameraModel& model);

/// An offer at an interval, with the sizes that follow from it.
StreamFormat streamFormat(const StreamOffer& offer, std::uint32_t interval, StreamTransport transport);

} // namespace tavelo
