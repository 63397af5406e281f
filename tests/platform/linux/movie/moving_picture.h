// SPDX-License-Identifier: MIT
// Pictures to record: four coloured quarters, a moving square, and optional grain for large files.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/pixel_buffer.h"

namespace tavelo::testing {

struct Paint {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

/// Upper left, upper right, lower left, lower right.
inline constexpr Paint quarters[4] = {{200, 30, 30}, {30, 180, 40}, {40, 60, 200}, {230, 220, 60}};

/// @param grain 0 to 255: amplitude of random noise
inline void drawMovingPicture(PixelBuffer& buffer, int frame, unsigned grain = 0) {
    const auto lock = buffer.lock();
    std::uint32_t random = std::uint32_t(frame) * 2654435761U + 1;
    const std::size_t side = buffer.height() / 8;
    const std::size_t left = std::size_t(frame) * 4 % (buffer.width() - side);
    const std::size_t top = buffer.height() / 2 - side / 2;
    for (std::size_t y = 0; y < buffer.height(); ++y) {
        std::uint8_t* pixel = buffer.baseAddress() + y * buffer.bytesPerRow();
        for (std::size_t x = 0; x < buffer.width(); ++x, pixel += 4) {
            Paint paint = quarters[(y * 2 >= buffer.height() ? 2 : 0) + (x * 2 >= buffer.width() ? 1 : 0)];
            if (x >= left && x < left + side && y >= top && y < top + side) paint = {255, 255, 255};
            if (grain > 0) {
                random = random * 1664525U + 1013904223U;
                paint.green = std::uint8_t(paint.green + (random >> 24) % (grain + 1));
            }
            pixel[0] = paint.blue;
            pixel[1] = paint.green;
            pixel[2] = paint.red;
            pixel[3] = 255;
        }
    }
}

inline std::shared_ptr<PixelBuffer> makeMovingPicture(std::size_t width, std::size_t height, int frame = 0,
                                                      unsigned grain = 0) {
    auto buffer = PixelBuffer::create(PixelFormat::bgra32, width, height);
    drawMovingPicture(*buffer, frame, grain);
    return buffer;
}

} // namespace tavelo::testing
