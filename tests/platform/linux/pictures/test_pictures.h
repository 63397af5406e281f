// SPDX-License-Identifier: MIT
// JPEG test pictures, and the changes that cameras make to JPEG data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/pixel_buffer.h"

namespace tavelo {

using Bytes = std::vector<std::uint8_t>;

struct Bgr {
    int blue = 0;
    int green = 0;
    int red = 0;
};

enum class Chroma { h422, h420, h444, grey };

/// The left half of one colour, the right half of another.
Bytes twoColourJpeg(int width, int height, Bgr left, Bgr right, Chroma chroma = Chroma::h422);

/// A picture full of detail, so that every part of the file affects the result.
Bytes noisyJpeg(int width, int height, Chroma chroma = Chroma::h422);

/// A picture of soft waves.
Bytes softJpeg(int width, int height, Chroma chroma = Chroma::h422);

/// The noisy picture as progressive JPEG.
Bytes progressiveJpeg(int width, int height);

Bytes withoutHuffmanTables(std::span<const std::uint8_t> jpeg);
Bytes withoutEndMarker(std::span<const std::uint8_t> jpeg);

Bgr pixelOf(const PixelBuffer& picture, std::size_t x, std::size_t y);
int alphaOf(const PixelBuffer& picture, std::size_t x, std::size_t y);

/// The largest difference of a channel.
int distance(Bgr a, Bgr b);

} // namespace tavelo
