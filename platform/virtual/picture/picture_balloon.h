// SPDX-License-Identifier: MIT
// The moving part of the virtual camera's scene: a hot-air balloon.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/virtual/picture/picture_colour.h"
#include "platform/virtual/picture/picture_raster.h"
#include "platform/virtual/picture/picture_view.h"

namespace tavelo {

/// A balloon, coloured according to the picture settings.  Immutable, thread-safe.
class Balloon {
public:
    explicit Balloon(const ColourPipeline& colours);

    /// The centre of its envelope in that frame; the path repeats after 600 frames.
    static ScenePoint position(std::uint64_t frame);

    /// @param softness width of its edges in pixels, at least 1
    void paint(const Surface& surface, const PictureView& view, std::uint64_t frame, float softness) const;

private:
    static constexpr std::size_t stripes = 7;
    static constexpr std::size_t ropeColour = stripes;
    static constexpr std::size_t basketColour = stripes + 1;

    struct Spot {
        std::size_t colour = 0;
        float cover = 0; ///< 0 to 1
    };

    static Spot spotAt(float u, float v, float softness);

    std::array<Pixel, stripes + 2> palette_{};
};

} // namespace tavelo
