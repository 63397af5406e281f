// SPDX-License-Identifier: MIT
// Applies the virtual camera's picture controls to colours.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/virtual/picture/picture_raster.h"
#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// Light, white balance, contrast, brightness, hue and saturation as one matrix, then gamma from a table.
/// Immutable, thread-safe.
class ColourPipeline {
public:
    explicit ColourPipeline(const PictureSettings& settings);

    Pixel operator()(Pixel in) const;
    void apply(const Pixel* in, Pixel* out, std::size_t count) const;

private:
    struct Row {
        std::int32_t red, green, blue, offset; // in 1/4096
    };

    std::uint8_t channel(const Row& row, Pixel in) const;

    Row red_{};
    Row green_{};
    Row blue_{};
    std::array<std::uint8_t, 256> gamma_{};
};

} // namespace tavelo
