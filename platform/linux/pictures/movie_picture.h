// SPDX-License-Identifier: MIT
// Camera frames to the pictures of movies, without a way over BGRA.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/camera_frame.h"
#include "platform/linux/pictures/frame_format.h"
#include "platform/linux/pictures/planar_picture.h"

namespace tavelo {

/// Whether a movie's picture can be made of a raw frame: packed, with the movie's own colours, BT.601.
bool hasMoviePicture(const FrameFormat& format);

/// Draws movie pictures, some rows at a time.  Thread-bound; allocates when the size changes.
class MoviePictureDrawer {
public:
    /// Both sides of the picture must be even.
    void draw(const PlanarPicture& picture, const MoviePlanes& destination, Mirroring mirroring);
    /// @param bytes a whole frame of a format that has a movie picture
    void draw(const FrameFormat& format, const std::uint8_t* bytes, const MoviePlanes& destination,
              Mirroring mirroring);

private:
    /// Rows on their way: luma, and half as many of interleaved chroma.
    struct Rows {
        const std::uint8_t* luma = nullptr;
        int lumaStride = 0;
        const std::uint8_t* chroma = nullptr;
        int chromaStride = 0;
        int width = 0;
        int first = 0;
        int count = 0;
    };

    void prepare(int width);
    void finish(Rows rows, bool fullRange, const MoviePlanes& destination, Mirroring mirroring);

    std::vector<std::uint8_t> memory_;
    std::uint8_t* made_ = nullptr;    // rows in NV12
    std::uint8_t* limited_ = nullptr; // the same in limited range
    std::uint8_t* split_ = nullptr;   // chroma of every row
    // A row of what each is mixed with for limited range.
    const std::uint8_t* chromaLift_ = nullptr;
    const std::uint8_t* lumaLift_ = nullptr;
};

} // namespace tavelo
