// SPDX-License-Identifier: MIT
// Converts the preview's pictures for the encoders.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/camera_frame.h"
#include "platform/linux/movie/ffmpeg_handles.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// BGRA to NV12 of one even size: BT.601, limited range.  A picture of another size is scaled to fill the
/// movie's, and what exceeds it on two sides is cut off; a single extra column or row of an odd size is cut
/// off unscaled.  Thread-bound; allocates only for pictures of another size, and then once.
class PictureConverter {
public:
    PictureConverter(int width, int height) : width_(width), height_(height) {}

    /// Lets a camera frame draw its own picture for a movie.
    /// @return false for a frame that has none, or one of another size
    bool draw(const CameraFrame& camera, Mirroring mirroring, AVFrame& frame) const;

    /// @param picture must be locked
    /// @param frame of the converter's size
    /// @return false for a picture that is not BGRA or is empty
    bool convert(const PixelBuffer& picture, AVFrame& frame);

private:
    bool scale(const PixelBuffer& picture);

    int width_;
    int height_;
    std::vector<std::uint8_t> scaled_;
};

} // namespace tavelo
