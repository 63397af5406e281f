// SPDX-License-Identifier: MIT
// Probe and commit: how a host and a virtual camera agree on a format.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "virtual-camera/firmware/virtual_camera_model.h"

namespace tavelo {

/// The two controls of the streaming interface.  Reentrant.
class StreamNegotiation {
public:
    /// Bytes of a probe in version 1.1.
    static constexpr std::size_t probeSize = 34;

    explicit StreamNegotiation(const VirtualCameraModel& model);

    struct Result {
        std::uint8_t errorCode = 0; ///< 0 where it was done
        std::vector<std::uint8_t> data;
    };
    Result read(std::uint8_t selector, std::uint8_t request) const;
    /// A probe bends what it is given to the nearest that the camera offers; a commit takes exactly that or
    /// stalls.
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

    std::vector<std::vector<StreamOffer>> formats_; // as bFormatIndex and bFrameIndex count, from 0
    StreamTransport transport_;
    Choice probe_;
    std::optional<StreamFormat> committed_;
};

/// The offers grouped by encoding in the order of bFormatIndex.
std::vector<std::vector<StreamOffer>> offersByFormat(const VirtualCameraModel& model);

/// An offer at an interval, with the sizes that follow from it.
StreamFormat streamFormat(const StreamOffer& offer, std::uint32_t interval, StreamTransport transport);

} // namespace tavelo
