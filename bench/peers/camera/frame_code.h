// SPDX-License-Identifier: MIT
// A bar of cells across the picture that says which frame it is, legible on a screen at any size.
//
// From the left: red, white, six bits of the number, the same bits inverted, black, blue.  Red and blue are
// the ends of the bar and tell whether the picture is mirrored; white and black show what bright and dark
// are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/virtual/picture/picture_raster.h"

namespace tavelo::bench {

inline constexpr std::size_t codeCells = 16;
inline constexpr std::size_t codeBits = 6;
/// Numbers are counted modulo this: at 30 frames a second, two seconds.
inline constexpr std::uint32_t frameCodes = 1U << codeBits;

/// The rows that the bar covers in a picture of this size.
Rectangle codeBar(std::size_t width, std::size_t height);

void drawFrameCode(Raster& picture, std::uint32_t frame);

/// Where a bar is in a row of pixels.
struct FoundBar {
    std::size_t left = 0;
    std::size_t width = 0;
    bool mirrored = false;
};

/// The bar in a row, by its ends' colours and proportions.
std::optional<FoundBar> findBar(const std::vector<Pixel>& row);

/// The frame's number modulo frameCodes, or nothing if the bits contradict each other: the row shows two
/// frames or none.
std::optional<std::uint32_t> readFrameCode(const std::vector<Pixel>& row, const FoundBar& bar);

} // namespace tavelo::bench
