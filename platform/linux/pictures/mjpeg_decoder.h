// SPDX-License-Identifier: MIT
// Decodes the pictures of a motion JPEG stream, which may be damaged, into BGRA.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/common/format_choice.h"
#include "platform/linux/pictures/planar_picture.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// Decodes with libjpeg-turbo and refuses damaged pictures.  Thread-bound to whoever decodes.
///
/// Cameras leave out the Huffman tables, the end marker or both, and put stray bytes between segments: all
/// of that is accepted.  A picture that ends early, contains invalid codes, or is not one baseline scan of
/// YCbCr or grey is refused.
class MjpegDecoder {
public:
    MjpegDecoder();
    ~MjpegDecoder();
    MjpegDecoder(const MjpegDecoder&) = delete;
    MjpegDecoder& operator=(const MjpegDecoder&) = delete;

    /// Reads the headers.  The bytes are not copied and must stay valid until decode() returns.
    /// @return the picture's size; nothing if it cannot be decoded or is too large (frame_bounds.h)
    std::optional<FrameSize> begin(std::span<const std::uint8_t> bytes);

    /// Decodes the picture accepted by begin() into a BGRA picture, whose lock the caller holds.  A reduced
    /// one takes about half the time, and each of its pixels is about the mean of those that it stands for.
    /// @param destination of the picture's size divided by `reduction`, rounded up
    /// @param reduction   1, 2 or 4
    /// @return false for a damaged picture; the destination's pixels are then undefined
    bool decode(const PixelBuffer& destination, unsigned reduction = 1);

    /// Whether the picture accepted by begin() is one of those that have planes: 4:2:2, 4:2:0 or grey.
    bool hasPlanes() const;
    /// Decodes it into planes, which need no conversion.  Allocates when the size changes.
    /// @return false for a damaged picture; the planes are then undefined
    bool decode(PlanarPicture& planes);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace tavelo
