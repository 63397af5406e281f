// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_focus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace tavelo {
namespace {

using Channel = std::uint8_t Pixel::*;
constexpr Channel channels[]{&Pixel::blue, &Pixel::green, &Pixel::red};

Raster noise(std::size_t width, std::size_t height) {
    std::minstd_rand random(5);
    Raster raster;
    raster.resize(width, height);
    for (Pixel& pixel : raster.pixels) {
        for (const Channel channel : channels)
            pixel.*channel = static_cast<std::uint8_t>(random());
        pixel.alpha = 255;
    }
    return raster;
}

/// The mean of the square around a pixel; beyond the edges the outermost pixels count again.
double meanAround(const Raster& raster, int x, int y, int radius, Channel channel) {
    double sum = 0;
    for (int row = y - radius; row <= y + radius; ++row) {
        for (int column = x - radius; column <= x + radius; ++column) {
            const int inside = std::clamp(row, 0, static_cast<int>(raster.height) - 1);
            sum += raster.row(static_cast<std::size_t>(
                       inside))[std::clamp(column, 0, static_cast<int>(raster.width) - 1)].*
                   channel;
        }
    }
    return sum / ((2 * radius + 1) * (2 * radius + 1));
}

/// Checks each value of a picture against what becomes of the sharp one and the mean around it.
template <typename Expected>
void expectEach(const Raster& raster, const Raster& sharp, int radius, Expected expected) {
    constexpr double tolerance = 2.5; // two means are rounded, one after the other, and what is made of them
    for (int y = 0; y < static_cast<int>(sharp.height); ++y) {
        for (int x = 0; x < static_cast<int>(sharp.width); ++x) {
            const Pixel& pixel = raster.row(static_cast<std::size_t>(y))[x];
            const Pixel& before = sharp.row(static_cast<std::size_t>(y))[x];
            EXPECT_EQ(pixel.alpha, 255);
            for (const Channel channel : channels) {
                const double wanted = expected(before.*channel, meanAround(sharp, x, y, radius, channel));
                ASSERT_NEAR(pixel.*channel, std::clamp(wanted, 0.0, 255.0), tolerance) << x << ", " << y;
            }
        }
    }
}

double mean(double /*sharp*/, double mean) {
    return mean;
}

TEST(PictureFocus, NeutralSettingsLeaveThePictureAlone) {
    const Raster sharp = noise(9, 7);
    Raster raster = sharp;
    applyFocus(raster, {});
    EXPECT_EQ(raster.pixels, sharp.pixels);
}

TEST(PictureFocus, DefocusIsTheMeanOfASquareAroundEachPixel) {
    for (const auto& [height, radius] : {std::pair{25, 1}, {50, 1}, {75, 2}, {150, 3}}) {
        const Raster sharp = noise(31, static_cast<std::size_t>(height));
        Raster raster = sharp;
        applyFocus(raster, {.defocus = 1});
        expectEach(raster, sharp, radius, mean);
    }
}

TEST(PictureFocus, ASmallDefocusOfASmallPictureIsNone) {
    const Raster sharp = noise(31, 24);
    Raster raster = sharp;
    applyFocus(raster, {.defocus = 1});
    expectEach(raster, sharp, 0, mean);
}

TEST(PictureFocus, NoSharpnessIsTheMeanAndHalfOfItHalfTheWay) {
    const Raster sharp = noise(20, 16);
    Raster raster = sharp;
    applyFocus(raster, {.sharpness = 0});
    expectEach(raster, sharp, 1, mean);
    raster = sharp;
    applyFocus(raster, {.sharpness = 0.25});
    expectEach(raster, sharp, 1, [](double value, double mean) { return (value + mean) / 2; });
}

TEST(PictureFocus, FullSharpnessTakesEachPixelTwiceAsFarFromTheMean) {
    const Raster sharp = noise(20, 16);
    Raster raster = sharp;
    applyFocus(raster, {.sharpness = 1});
    expectEach(raster, sharp, 1, [](double value, double mean) { return value + 2 * (value - mean); });
}

TEST(PictureFocus, LargePicturesAreSharpenedOverALargerSquare) {
    const Raster sharp = noise(5, 480);
    Raster raster = sharp;
    applyFocus(raster, {.sharpness = 0});
    expectEach(raster, sharp, 2, mean);
}

} // namespace
} // namespace tavelo
