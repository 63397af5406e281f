// SPDX-License-Identifier: MIT
// A picture that makes errors visible: gradients, a checkerboard, a corner mark, fine grain.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/pixel_buffer.h"

namespace tavelo::testing {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

inline Colour testColour(std::size_t x, std::size_t y, std::size_t width, std::size_t height) {
    // White mark in the upper left corner, to detect mirrored pictures.
    if (x * 4 < width && y * 4 < height && x * height + y * width < width * height / 4)
        return {255, 255, 255};
    const std::size_t grain = (x * 7919 + y * 104729) % 32;
    const bool dark = ((x / 8) + (y / 8)) % 2 == 0;
    return {std::uint8_t((dark ? 40 : 190) + grain), std::uint8_t(y * 255 / (height > 1 ? height - 1 : 1)),
            std::uint8_t(x * 255 / (width > 1 ? width - 1 : 1))};
}

inline void drawTestPicture(PixelBuffer& buffer) {
    const auto lock = buffer.lock();
    for (std::size_t y = 0; y < buffer.height(); ++y) {
        for (std::size_t x = 0; x < buffer.width(); ++x) {
            const Colour colour = testColour(x, y, buffer.width(), buffer.height());
            std::uint8_t* pixel = buffer.baseAddress() + y * buffer.bytesPerRow() + x * 4;
            pixel[0] = colour.blue;
            pixel[1] = colour.green;
            pixel[2] = colour.red;
            pixel[3] = 255;
        }
    }
}

inline std::shared_ptr<PixelBuffer> makeTestPicture(std::size_t width, std::size_t height) {
    auto buffer = PixelBuffer::create(PixelFormat::bgra32, width, height);
    drawTestPicture(*buffer);
    return buffer;
}

} // namespace tavelo::testing
