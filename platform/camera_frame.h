// SPDX-License-Identifier: MIT
// A frame as the camera sent it, and which pictures are wanted of one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/pixel_buffer.h"

namespace tavelo {

/// How a picture is mirrored before it is shown or recorded.
struct Mirroring {
    bool horizontal = false;
    bool vertical = false;

    friend bool operator==(const Mirroring&, const Mirroring&) = default;
};

/// Memory for a picture as movies have it: NV12, BT.601 in limited range, both sides even.
struct MoviePlanes {
    PixelBuffer::Plane luma;
    PixelBuffer::Plane chroma; ///< width in pairs
};

/// A kept frame: its picture is made when somebody wants it.  Immutable, thread-safe.
class CameraFrame {
public:
    CameraFrame() = default;
    virtual ~CameraFrame() = default;
    CameraFrame(const CameraFrame&) = delete;
    CameraFrame& operator=(const CameraFrame&) = delete;

    virtual std::size_t width() const = 0;
    virtual std::size_t height() const = 0;

    /// Makes the whole picture, with the same pixels as if it had been wanted at once.  Takes as long as a
    /// frame takes.
    /// @param destination BGRA, of the frame's size; the caller holds its lock
    /// @return false for a damaged frame; the destination's pixels are then undefined
    virtual bool draw(const PixelBuffer& destination) const = 0;

    /// Whether drawForMovie() can be called: the frame's colours are kept in planes, or as the camera sent
    /// them, and both sides are even.
    virtual bool hasMoviePicture() const { return false; }

    /// Makes the picture for a movie, without a way over BGRA.  What it costs is about a copy.
    /// @param destination of the frame's size
    virtual void drawForMovie(const MoviePlanes& destination, Mirroring mirroring) const {
        (void)destination;
        (void)mirroring;
    }
};

/// Which pictures the receiver wants of the next frames.
struct PictureDemand {
    bool whole = true; ///< in the camera's size
    /// In pixels, as large as the picture is shown; 0: it is not shown.
    std::uint32_t shownWidth = 0;
    std::uint32_t shownHeight = 0;
    /// A frame with a movie's picture.  An input that cannot keep one makes the whole picture.
    bool forMovie = false;

    friend bool operator==(const PictureDemand&, const PictureDemand&) = default;
};

} // namespace tavelo
