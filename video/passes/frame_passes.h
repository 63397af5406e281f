// SPDX-License-Identifier: MIT
// The seam to what draws: the correction pass and the display pass.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/pixel_buffer.h"
#include "video/passes/frame_geometry.h"

namespace tavelo {

/// A picture as the passes that made it see it; holds what it shares with its pixel buffer.
/// May be released on any thread, at the latest before its passes are destroyed.
class FrameTexture {
public:
    FrameTexture() = default;
    virtual ~FrameTexture() = default;

    FrameTexture(const FrameTexture&) = delete;
    FrameTexture& operator=(const FrameTexture&) = delete;
};

/// One picture, for the processor and for the passes.
struct FramePicture {
    std::shared_ptr<PixelBuffer> pixelBuffer; ///< BGRA
    std::shared_ptr<FrameTexture> texture;
};

/// What a picture is for.
enum class PictureUse : std::uint8_t {
    cameraFrame,   ///< the processor writes it, the correction pass reads it
    correctedFrame ///< the correction pass writes it, the display pass and the processor read it
};

/// Draws frames.
///
/// Thread-bound to the render queue, destruction included.  Every call returns when its work is done, on the
/// GPU too.  The memory of the pixel buffers is the passes' own: it must not be touched once they are
/// destroyed.
class FramePasses {
public:
    FramePasses() = default;
    virtual ~FramePasses() = default;

    FramePasses(const FramePasses&) = delete;
    FramePasses& operator=(const FramePasses&) = delete;

    /// Makes a zeroed picture.
    /// @param bytesPerRow a multiple of 4, at least 4 * width
    /// @return both halves, or neither where memory or the GPU refuses
    virtual FramePicture makePicture(PictureUse use, std::size_t width, std::size_t height,
                                     std::size_t bytesPerRow) = 0;

    /// Writes `frame`, mirrored as the parameters say, into `corrected`, which is of the same size.  The
    /// caller holds the locks of both pixel buffers.
    /// @return false if the GPU did not do it: it hangs, or the context is lost
    virtual bool correct(FrameTexture& frame, FrameTexture& corrected, const CorrectionParameters& parameters,
                         const GroupExtent& groupCount) = 0;

    /// Fills the current target with opaque black, then draws the quad with `corrected` on it, sampled
    /// bilinearly at pixel centres and clamped to its edge.
    /// @param corrected null draws nothing on the black
    /// @param modelView a scale along x and y
    virtual void display(FrameTexture* corrected, ViewportSize viewport, const FloatMatrix& modelView) = 0;
};

} // namespace tavelo
