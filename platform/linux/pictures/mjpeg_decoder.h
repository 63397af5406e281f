// SPDX-License-Identifier: MIT
// Decodes the pictures of a motion JPEG stream, damaged ones included, into BGRA.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/common/format_choice.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// libjpeg-turbo behind a door that no damaged picture passes.  Thread-bound to whoever decodes.
///
/// Cameras leave out the Huffman tables, the end marker or both, and put bytes of no use between segments:
/// all of that is accepted.  A picture that ends early, that holds codes of no meaning, or that is not one
/// baseline scan of YCbCr or grey is refused.
class MjpegDecoder {
public:
    MjpegDecoder();
    ~MjpegDecoder();
    MjpegDecoder(const MjpegDecoder&) = delete;
    MjpegDecoder& operator=(const MjpegDecoder&) = delete;

    /// Reads the headers; the bytes are kept by reference until decode() returned.
    /// @return the picture's size; nothing if it cannot be decoded or is too large (frame_bounds.h)
    std::optional<FrameSize> begin(std::span<const std::uint8_t> bytes);

    /// Decodes what begin() has accepted into a BGRA picture of that size, whose lock the caller holds.
    /// @return false for a damaged picture; the destination's pixels are of no use then
    bool decode(const PixelBuffer& destination);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace tavelo
