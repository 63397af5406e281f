// SPDX-License-Identifier: MIT
// From the preview's pictures to what encoders take.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/movie/ffmpeg_handles.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// BGRA to NV12 of one even size: BT.601, limited range.  A picture of another size fills the movie's, and
/// what stands over on two sides is cut off; one column or row too many, as odd sizes have it, is cut off
/// unscaled. Thread-bound; allocates for pictures of another size only, and then once.
class PictureConverter {
public:
    PictureConverter(int width, int height) : width_(width), height_(height) {}

    /// @param picture locked
    /// @param frame of the converter's size
    /// @return false for a picture that is not BGRA or has no area
    bool convert(const PixelBuffer& picture, AVFrame& frame);

private:
    bool scale(const PixelBuffer& picture);

    int width_;
    int height_;
    std::vector<std::uint8_t> scaled_;
};

} // namespace tavelo
