// SPDX-License-Identifier: MIT
// The correction and display passes on the CPU.
#pragma once

#include "video/cpu/bilinear_scaler.h"
#include "video/passes/frame_passes.h"

namespace tavelo {

/// A picture's texture is its pixel buffer.
class CpuFramePasses final : public FramePasses {
public:
    /// Sets the BGRA memory that display() draws into; must be as large as the viewport given there.
    void setTarget(const Pixels& target) { target_ = target; }

    FramePicture makePicture(PictureUse use, std::size_t width, std::size_t height,
                             std::size_t bytesPerRow) override;
    bool correct(FrameTexture& frame, FrameTexture& corrected, const CorrectionParameters& parameters,
                 const GroupExtent& groupCount) override;
    void display(FrameTexture* corrected, ViewportSize viewport, const FloatMatrix& modelView) override;

private:
    class Texture;

    Pixels target_;
    BilinearScaler scaler_;
};

} // namespace tavelo
