// SPDX-License-Identifier: MIT
// Overlays on the virtual camera's scene: corner patches, colour bars, number plates.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/virtual/picture/picture_raster.h"

namespace tavelo {

/// Colours of the corner patches before the controls are applied: top left, top right, bottom left, bottom
/// right.
inline constexpr std::array<Pixel, 4> patchColours{
    {{48, 48, 200, 255}, {72, 176, 48, 255}, {200, 80, 48, 255}, {48, 184, 208, 255}}};

/// What letters and figures are drawn with, before the camera's colour controls.
inline constexpr Pixel instrumentInk{244, 248, 250, 255};

/// Places and draws the overlays for one size of picture.  Immutable, thread-safe.
class Instruments {
public:
    Instruments(int cameraNumber, std::size_t width, std::size_t height);

    /// Draws everything except the frame number.
    void paint(Raster& raster) const;

    /// All areas that paint() covers.
    const std::vector<Rectangle>& areas() const { return areas_; }

    /// Draws the frame number, six digits, onto its plate.
    void paintFrameNumber(std::uint64_t frame, Pixel ink, const Surface& surface) const;

    static std::size_t patchSide(std::size_t height);

private:
    void paintBars(Raster& raster) const;
    Rectangle plate(std::size_t letters, bool right) const;

    std::string cameraText_;
    std::size_t width_;
    std::size_t height_;
    std::size_t patch_;
    std::size_t dot_;
    Rectangle cameraPlate_;
    Rectangle framePlate_;
    Rectangle bars_;
    std::vector<Rectangle> areas_;
};

} // namespace tavelo
