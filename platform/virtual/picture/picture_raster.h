// SPDX-License-Identifier: MIT
// Pixels and drawing surfaces of the virtual camera.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavelo {

/// In memory order.
struct Pixel {
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint8_t red = 0;
    std::uint8_t alpha = 255;

    friend bool operator==(const Pixel&, const Pixel&) = default;
};

/// Components from 0 to 1.
struct Colour {
    float red = 0;
    float green = 0;
    float blue = 0;
};

inline Colour mix(const Colour& a, const Colour& b, float t) {
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

inline float clamp01(float value) {
    return std::clamp(value, 0.0F, 1.0F);
}

inline float smoothStep(float from, float to, float value) {
    const float t = clamp01((value - from) / (to - from));
    return t * t * (3 - 2 * t);
}

inline Pixel toPixel(const Colour& colour) {
    const auto byte = [](float value) { return static_cast<std::uint8_t>(clamp01(value) * 255.999F); };
    return {byte(colour.blue), byte(colour.green), byte(colour.red), 255};
}

/// @param weight of `over`, 0 to 256
inline Pixel blend(Pixel under, Pixel over, int weight) {
    const auto channel = [weight](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>((a * (256 - weight) + b * weight) >> 8);
    };
    return {channel(under.blue, over.blue), channel(under.green, over.green), channel(under.red, over.red),
            255};
}

struct Rectangle {
    std::size_t left = 0;
    std::size_t top = 0;
    std::size_t width = 0;
    std::size_t height = 0;
};

/// A picture that owns its memory; rows have no padding.
struct Raster {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<Pixel> pixels;

    void resize(std::size_t newWidth, std::size_t newHeight) {
        width = newWidth;
        height = newHeight;
        pixels.resize(width * height);
    }
    Pixel* row(std::size_t y) { return pixels.data() + y * width; }
    const Pixel* row(std::size_t y) const { return pixels.data() + y * width; }
};

/// The part of an area that lies within a picture.
Rectangle clipped(const Rectangle& area, std::size_t width, std::size_t height);

/// Memory of someone else to draw into.
struct Surface {
    std::uint8_t* base = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;

    Pixel* row(std::size_t y) const { return reinterpret_cast<Pixel*>(base + y * bytesPerRow); }
};

/// Copies one area of a raster to the same place in a surface of the same size.
void copy(const Raster& from, const Rectangle& area, const Surface& to);

/// Fills a rectangle, clipped to the raster.
void fill(Raster& raster, const Rectangle& area, Pixel colour, int weight = 256);

} // namespace tavelo
