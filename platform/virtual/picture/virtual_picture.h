// SPDX-License-Identifier: MIT
// Draws a virtual camera's picture: a landscape with overlays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// Draws the frames of one camera.
///
/// The scene is the same at every size: four patches in the corners (red top left, green top right, blue
/// bottom left, yellow bottom right, see patchSide), the numbers of the camera and the frame in large digits,
/// and a balloon that crosses the sky.  The static part is kept between frames with the settings applied and
/// drawn again if size or settings change.
///
/// Reentrant; one object per stream.
class VirtualPicture {
public:
    /// @param cameraNumber 0 to 99 are drawn
    explicit VirtualPicture(int cameraNumber);
    ~VirtualPicture();
    VirtualPicture(VirtualPicture&&) noexcept;
    VirtualPicture& operator=(VirtualPicture&&) noexcept;

    /// @param bgra `height` rows of `width` pixels, blue, green, red, alpha
    void draw(std::uint64_t frame, const PictureSettings& settings, std::uint8_t* bgra, std::size_t width,
              std::size_t height, std::size_t bytesPerRow);

    /// Side of the square corner patches in pixels; they ignore zoom, pan, tilt, roll and sharpness, so that
    /// a picture can be checked by them.
    static std::size_t patchSide(std::size_t height);

private:
    class Painter;
    std::unique_ptr<Painter> painter_;
};

} // namespace tavelo
