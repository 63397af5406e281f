// SPDX-License-Identifier: MIT
// A frame as the camera sent it, and which pictures are wanted of one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/pixel_buffer.h"

namespace tavelo {

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
};

/// Which pictures the receiver wants of the next frames.
struct PictureDemand {
    bool whole = true; ///< in the camera's size
    /// In pixels, as large as the picture is shown; 0: it is not shown.
    std::uint32_t shownWidth = 0;
    std::uint32_t shownHeight = 0;

    friend bool operator==(const PictureDemand&, const PictureDemand&) = default;
};

} // namespace tavelo
