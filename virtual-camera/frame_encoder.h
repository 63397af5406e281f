// SPDX-License-Identifier: MIT
// Encodes drawn pictures into the frames that a camera sends.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// Encodes BGRA pictures of one size.  Reentrant; one object per stream.
class FrameEncoder {
public:
    explicit FrameEncoder(const StreamFormat& format);
    ~FrameEncoder();

    FrameEncoder(const FrameEncoder&) = delete;
    FrameEncoder& operator=(const FrameEncoder&) = delete;

    /// @param bgra a picture of the format's size, rows without padding
    /// @param frame replaced by the encoded picture, at most the format's maxFrameSize; its memory is reused
    /// @return false if the picture does not fit into that or cannot be encoded
    bool encode(std::span<const std::uint8_t> bgra, std::vector<std::uint8_t>& frame);

private:
    class JpegCompressor;

    bool encodeYuyv(std::span<const std::uint8_t> bgra, std::vector<std::uint8_t>& frame) const;

    const StreamFormat format_;
    std::unique_ptr<JpegCompressor> jpeg_;
};

} // namespace tavelo
