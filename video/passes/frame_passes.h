// SPDX-License-Identifier: MIT
// The interface of the renderers: the correction pass and the display pass.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/pixel_buffer.h"
#include "video/passes/frame_geometry.h"

namespace tavelo {

/// A picture in the form that the passes use.  Keeps alive what it shares with its pixel buffer.  May be
/// released on any thread, but before its passes are destroyed.
class FrameTexture {
public:
    FrameTexture() = default;
    virtual ~FrameTexture() = default;

    FrameTexture(const FrameTexture&) = delete;
    FrameTexture& operator=(const FrameTexture&) = delete;
};

/// A picture, as the CPU and as the passes access it.
struct FramePicture {
    std::shared_ptr<PixelBuffer> pixelBuffer; ///< BGRA
    std::shared_ptr<FrameTexture> texture;
};

/// What a picture is for.
enum class PictureUse : std::uint8_t {
    cameraFrame,   ///< the CPU writes it, the correction pass reads it
    correctedFrame ///< the correction pass writes it, the display pass and the CPU read it
};

/// Draws frames.
///
/// Thread-bound to the render queue, destruction included.  Every call waits until its work is done, on the
/// GPU too.  The passes own the memory of the pixel buffers, which must not be accessed once the passes are
/// destroyed.
class FramePasses {
public:
    FramePasses() = default;
    virtual ~FramePasses() = default;

    FramePasses(const FramePasses&) = delete;
    FramePasses& operator=(const FramePasses&) = delete;

    /// Makes a zeroed picture.
    /// @param bytesPerRow a multiple of 4, at least 4 * width
    /// @return both members set, or both null on failure
    virtual FramePicture makePicture(PictureUse use, std::size_t width, std::size_t height,
                                     std::size_t bytesPerRow) = 0;

    /// Writes `frame`, mirrored according to the parameters, into `corrected`, which has the same size.  The
    /// caller holds the locks of both pixel buffers.
    /// @return false if the GPU hangs or the context is lost
    virtual bool correct(FrameTexture& frame, FrameTexture& corrected, const CorrectionParameters& parameters,
                         const GroupExtent& groupCount) = 0;

    /// Fills the current target with opaque black, then draws the quad with `corrected`, sampled bilinearly
    /// at pixel centres and clamped to its edge.
    /// @param corrected if null, the target stays black
    /// @param modelView a scale along x and y
    virtual void display(FrameTexture* corrected, ViewportSize viewport, const FloatMatrix& modelView) = 0;
};

} // namespace tavelo
