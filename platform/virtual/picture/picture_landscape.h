// SPDX-License-Identifier: MIT
// The static part of the virtual camera's scene: a mountain lake in the morning.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "platform/virtual/picture/picture_raster.h"
#include "platform/virtual/picture/picture_view.h"

namespace tavelo {

/// Computes the colour of any point of an endless scene, so that any zoom is sharp.  Immutable, thread-safe.
class Landscape {
public:
    Landscape();

    /// Draws what the view shows.
    void paint(Raster& raster, const PictureView& view) const;

private:
    // A table of a skyline's height over x.
    class Skyline {
    public:
        explicit Skyline(float (*height)(float x));
        float at(float x) const;
        float top() const { return top_; }

    private:
        std::vector<float> heights_;
        float top_ = 0;
    };

    Colour colourAt(float x, float y, float pixel) const;
    Colour airAt(float x, float y, float pixel) const;
    Colour skyAt(float x, float y) const;

    static constexpr std::size_t gradientSteps = 512;

    std::array<Colour, gradientSteps> gradient_;
    Skyline farRange_;
    Skyline middleRange_;
    Skyline forest_;
    Skyline hill_;
    float highest_;
};

} // namespace tavelo
