// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_focus.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace tavelo {
namespace {

struct Sums {
    std::uint32_t blue = 0;
    std::uint32_t green = 0;
    std::uint32_t red = 0;

    void add(Pixel pixel) {
        blue += pixel.blue;
        green += pixel.green;
        red += pixel.red;
    }
    void remove(Pixel pixel) {
        blue -= pixel.blue;
        green -= pixel.green;
        red -= pixel.red;
    }
    Pixel mean(std::uint32_t reciprocal) const { // 65536 / count
        const auto byte = [reciprocal](std::uint32_t sum) {
            return static_cast<std::uint8_t>(std::min((sum * reciprocal + 32768U) >> 16U, 255U));
        };
        return {byte(blue), byte(green), byte(red), 255};
    }
};

void blurRow(const Pixel* in, Pixel* out, std::size_t width, std::size_t radius, std::uint32_t reciprocal) {
    Sums sums;
    const auto at = [&](std::size_t shifted) {
        return in[std::min(shifted < radius ? 0 : shifted - radius, width - 1)];
    };
    for (std::size_t i = 0; i < 2 * radius + 1; ++i)
        sums.add(at(i));
    for (std::size_t x = 0; x < width; ++x) {
        out[x] = sums.mean(reciprocal);
        sums.remove(at(x));
        sums.add(at(x + 2 * radius + 1));
    }
}

void blurColumns(const Raster& in, Raster& out, std::size_t radius, std::uint32_t reciprocal) {
    std::vector<Sums> sums(in.width);
    const auto row = [&](std::size_t shifted) {
        return in.row(std::min(shifted < radius ? 0 : shifted - radius, in.height - 1));
    };
    for (std::size_t i = 0; i < 2 * radius + 1; ++i) {
        const Pixel* added = row(i);
        for (std::size_t x = 0; x < in.width; ++x)
            sums[x].add(added[x]);
    }
    for (std::size_t y = 0; y < in.height; ++y) {
        const Pixel* removed = row(y);
        const Pixel* added = row(y + 2 * radius + 1);
        Pixel* target = out.row(y);
        for (std::size_t x = 0; x < in.width; ++x) {
            target[x] = sums[x].mean(reciprocal);
            sums[x].remove(removed[x]);
            sums[x].add(added[x]);
        }
    }
}

Raster blurred(const Raster& raster, std::size_t radius) {
    const auto reciprocal = static_cast<std::uint32_t>(65536 / (2 * radius + 1));
    Raster rows;
    rows.resize(raster.width, raster.height);
    for (std::size_t y = 0; y < raster.height; ++y)
        blurRow(raster.row(y), rows.row(y), raster.width, radius, reciprocal);
    Raster result;
    result.resize(raster.width, raster.height);
    blurColumns(rows, result, radius, reciprocal);
    return result;
}

// Moves every channel away from its soft neighbourhood (amount above 0) or towards it (-1: all the way).
void exaggerate(Raster& raster, const Raster& soft, double amount) {
    const int factor = static_cast<int>(std::lround(amount * 256));
    const auto channel = [factor](std::uint8_t sharp, std::uint8_t mean) {
        return static_cast<std::uint8_t>(std::clamp(sharp + ((sharp - mean) * factor >> 8), 0, 255));
    };
    for (std::size_t i = 0; i < raster.pixels.size(); ++i) {
        Pixel& pixel = raster.pixels[i];
        const Pixel mean = soft.pixels[i];
        pixel = {channel(pixel.blue, mean.blue), channel(pixel.green, mean.green),
                 channel(pixel.red, mean.red), 255};
    }
}

} // namespace

void applyFocus(Raster& raster, const PictureSettings& settings) {
    const auto height = static_cast<double>(raster.height);
    if (settings.defocus > 0) {
        const auto radius = static_cast<std::size_t>(std::lround(settings.defocus * height / 50));
        if (radius > 0) raster = blurred(raster, radius);
    }
    const double amount =
        settings.sharpness < 0.5 ? 2 * settings.sharpness - 1 : 4 * (settings.sharpness - 0.5);
    if (std::abs(amount) < 1e-9) return;
    exaggerate(raster, blurred(raster, std::max<std::size_t>(raster.height / 240, 1)), amount);
}

} // namespace tavelo
