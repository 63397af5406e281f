// SPDX-License-Identifier: MIT
// What a virtual camera sees: a landscape with instruments, drawn into memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "virtual-camera/picture/picture_settings.h"

namespace tavelo {

/// Draws frame after frame of one camera.
///
/// The scene is the same at every size: four patches in the corners (red top left, green top right, blue
/// bottom left, yellow bottom right, see patchSide), the camera's number and the frame's number in large
/// digits, and a sun that crosses the sky.  What stands still is kept from frame to frame, with the settings
/// applied to it; a change of size or settings draws it anew.
///
/// Reentrant; one object a stream.
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
    /// a picture can be judged by them.
    static std::size_t patchSide(std::size_t height);

private:
    class Painter;
    std::unique_ptr<Painter> painter_;
};

} // namespace tavelo
