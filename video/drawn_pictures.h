// SPDX-License-Identifier: MIT
// The pictures that one draw of the preview uses.
#pragma once

#include <memory>

#include "platform/pixel_buffer.h"
#include "video/passes/frame_passes.h"

namespace tavelo {

/// A frame before and after its correction, as memory and as what the renderer made of that.
struct DrawnPictures {
    std::shared_ptr<PixelBuffer> pixelBuffer;
    std::shared_ptr<FrameTexture> texture;
    std::shared_ptr<PixelBuffer> correctPixelBuffer;
    std::shared_ptr<FrameTexture> correctTexture;
};

} // namespace tavelo
