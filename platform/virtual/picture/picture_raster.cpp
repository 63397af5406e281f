// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_raster.h"

#include <cstring>

namespace tavelo {

Rectangle clipped(const Rectangle& area, std::size_t width, std::size_t height) {
    const std::size_t left = std::min(area.left, width);
    const std::size_t top = std::min(area.top, height);
    return {left, top, std::min(area.width, width - left), std::min(area.height, height - top)};
}

void copy(const Raster& from, const Rectangle& area, const Surface& to) {
    const Rectangle part = clipped(area, from.width, from.height);
    for (std::size_t y = part.top; y < part.top + part.height; ++y)
        std::memcpy(to.row(y) + part.left, from.row(y) + part.left, part.width * sizeof(Pixel));
}

void fill(Raster& raster, const Rectangle& area, Pixel colour, int weight) {
    const Rectangle part = clipped(area, raster.width, raster.height);
    for (std::size_t y = part.top; y < part.top + part.height; ++y) {
        Pixel* row = raster.row(y) + part.left;
        for (std::size_t x = 0; x < part.width; ++x)
            row[x] = blend(row[x], colour, weight);
    }
}

} // namespace tavelo
