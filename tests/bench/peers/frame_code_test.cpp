// SPDX-License-Identifier: MIT
#include "bench/peers/camera/frame_code.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tavelo::bench {
namespace {

constexpr std::size_t pictureWidth = 640;
constexpr std::size_t pictureHeight = 360;
constexpr Pixel grey{90, 100, 110, 255};

Raster greyPicture() {
    Raster picture;
    picture.resize(pictureWidth, pictureHeight);
    std::ranges::fill(picture.pixels, grey);
    return picture;
}

std::vector<Pixel> rowAt(const Raster& picture, std::size_t y) {
    return {picture.row(y), picture.row(y) + picture.width};
}

std::vector<Pixel> barRow(std::uint32_t frame) {
    Raster picture = greyPicture();
    drawFrameCode(picture, frame);
    const Rectangle bar = codeBar(pictureWidth, pictureHeight);
    return rowAt(picture, bar.top + bar.height / 2);
}

// As a window of this width on a wider screen shows the row.
std::vector<Pixel> onScreen(const std::vector<Pixel>& row, std::size_t left, std::size_t width) {
    std::vector<Pixel> screen(left + width + 50, grey);
    for (std::size_t x = 0; x < width; ++x)
        screen[left + x] = row[x * row.size() / width];
    return screen;
}

TEST(FrameCodeTest, EachNumberIsReadAsItWasDrawn) {
    for (std::uint32_t frame = 0; frame < 2 * frameCodes; ++frame) {
        const auto row = barRow(frame);
        const auto bar = findBar(row);
        ASSERT_TRUE(bar) << frame;
        EXPECT_EQ(bar->left, 0U);
        EXPECT_EQ(bar->width, pictureWidth);
        EXPECT_FALSE(bar->mirrored);
        EXPECT_EQ(readFrameCode(row, *bar), frame % frameCodes);
    }
}

TEST(FrameCodeTest, IsReadInAWindowOfAnotherSize) {
    for (const std::size_t width : {160, 536, 1280, 1920}) {
        const auto screen = onScreen(barRow(37), 200, width);
        const auto bar = findBar(screen);
        ASSERT_TRUE(bar) << width;
        EXPECT_EQ(bar->left, 200U);
        EXPECT_EQ(bar->width, width);
        EXPECT_EQ(readFrameCode(screen, *bar), 37U);
    }
}

TEST(FrameCodeTest, TellsAMirroredPicture) {
    auto row = barRow(11);
    std::ranges::reverse(row);
    const auto bar = findBar(row);
    ASSERT_TRUE(bar);
    EXPECT_TRUE(bar->mirrored);
    EXPECT_EQ(readFrameCode(row, *bar), 11U);
}

TEST(FrameCodeTest, CoversOnlyItsRows) {
    Raster picture = greyPicture();
    drawFrameCode(picture, 5);
    const Rectangle bar = codeBar(pictureWidth, pictureHeight);
    EXPECT_FALSE(findBar(rowAt(picture, bar.top - 1)));
    EXPECT_TRUE(findBar(rowAt(picture, bar.top)));
    EXPECT_TRUE(findBar(rowAt(picture, bar.top + bar.height - 1)));
    EXPECT_FALSE(findBar(rowAt(picture, bar.top + bar.height)));
}

// A screen that is being drawn shows one frame at the left and the next at the right.
TEST(FrameCodeTest, TwoFramesInOneRowAreNoFrame) {
    auto row = barRow(0b01'0101);
    const auto next = barRow(0b10'1010);
    const auto half = std::ptrdiff_t(row.size() / 2);
    std::copy(next.begin() + half, next.end(), row.begin() + half);
    EXPECT_FALSE(readFrameCode(row, {0, row.size(), false}));
}

TEST(FrameCodeTest, ADarkRowIsNoBar) {
    const std::vector<Pixel> dark(pictureWidth, grey);
    EXPECT_FALSE(findBar(dark));
    EXPECT_FALSE(readFrameCode(dark, {0, pictureWidth, false}));
}

// Red and blue things on the screen that are not the bar's ends.
TEST(FrameCodeTest, OtherRedAndBlueIsNotTheBar) {
    auto screen = onScreen(barRow(9), 400, 536);
    std::fill_n(screen.begin() + 20, 200, Pixel{0, 0, 255, 255});
    std::fill_n(screen.begin() + 300, 12, Pixel{255, 0, 0, 255});
    const auto bar = findBar(screen);
    ASSERT_TRUE(bar);
    EXPECT_EQ(bar->left, 400U);
    EXPECT_EQ(bar->width, 536U);
}

} // namespace
} // namespace tavelo::bench
