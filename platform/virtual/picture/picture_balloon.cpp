// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_balloon.h"

#include <cmath>

namespace tavelo {
namespace {

constexpr float radius = 0.085F; // scene units

// In radii, down from the envelope's centre.
constexpr float taperFrom = 0.35F;
constexpr float mouth = 1.20F;
constexpr float mouthHalfWidth = 0.24F;
constexpr float basketTop = 1.48F;
constexpr float basketBottom = 1.72F;
constexpr float basketHalfWidth = 0.17F;
constexpr float reach = 1.8F; // no part is farther from the centre

constexpr Pixel crimson{52, 44, 190, 255};
constexpr Pixel cream{214, 236, 250, 255};
constexpr Pixel rope{60, 76, 92, 255};
constexpr Pixel wicker{40, 72, 116, 255};

float envelopeHalfWidth(float v) {
    if (v <= -1 || v >= mouth) return 0;
    if (v < taperFrom) return std::sqrt(1 - v * v);
    const float t = (v - taperFrom) / (mouth - taperFrom);
    const float widest = std::sqrt(1 - taperFrom * taperFrom);
    return widest + (mouthHalfWidth - widest) * t * (0.72F + 0.28F * t);
}

Pixel shaded(Pixel colour, float light) {
    const auto channel = [light](std::uint8_t value) {
        return static_cast<std::uint8_t>(clamp01(static_cast<float>(value) / 255 * light) * 255);
    };
    return {channel(colour.blue), channel(colour.green), channel(colour.red), 255};
}

} // namespace

Balloon::Balloon(const ColourPipeline& colours) {
    for (std::size_t i = 0; i < stripes; ++i) {
        // The sun stands to the left.
        const float light = 1.08F - 0.09F * static_cast<float>(i);
        palette_[i] = colours(shaded(i % 2 == 0 ? crimson : cream, light));
    }
    palette_[ropeColour] = colours(rope);
    palette_[basketColour] = colours(wicker);
}

ScenePoint Balloon::position(std::uint64_t frame) {
    constexpr float turn = 2 * 3.14159265F;
    const float slow = turn * static_cast<float>(frame % 600) / 600;
    const float quick = turn * static_cast<float>(frame % 200) / 200;
    return {0.12F + 0.42F * std::sin(slow), -0.20F + 0.02F * std::sin(quick)};
}

Balloon::Spot Balloon::spotAt(float u, float v, float softness) {
    const auto cover = [softness](float inside) { return clamp01(inside / softness + 0.5F); };
    if (v > basketTop - softness && v < basketBottom + softness) {
        const float inside = std::min({basketHalfWidth - std::abs(u), v - basketTop, basketBottom - v});
        if (inside > -softness) return {basketColour, cover(inside)};
    }
    if (v >= mouth && v < basketTop) {
        const float t = (v - mouth) / (basketTop - mouth);
        const float at = mouthHalfWidth + (basketHalfWidth * 0.9F - mouthHalfWidth) * t;
        return {ropeColour, cover(0.025F - std::abs(std::abs(u) - at))};
    }
    const float halfWidth = envelopeHalfWidth(v);
    if (halfWidth <= 0) return {};
    const float across = std::clamp(u / halfWidth, -1.0F, 1.0F);
    // Gores look narrower towards the rim.
    const float bent = across * (0.72F + 0.28F * across * across);
    const float gore = std::clamp((bent + 1) / 2 * static_cast<float>(stripes), 0.0F, stripes - 0.01F);
    // The circle's edge is slanted: its distance along u would overstate the cover near the top.
    const float inside = v < 0 ? 1 - std::sqrt(u * u + v * v) : halfWidth - std::abs(u);
    return {static_cast<std::size_t>(gore), cover(inside)};
}

void Balloon::paint(const Surface& surface, const PictureView& view, std::uint64_t frame,
                    float softness) const {
    const ScenePoint place = position(frame);
    const ScenePoint centre = view.toPicture(place.x, place.y);
    const auto extent = static_cast<float>(view.scale()) * radius * reach;
    const auto bound = [](float value, std::size_t limit) {
        return static_cast<std::size_t>(std::clamp(value, 0.0F, static_cast<float>(limit)));
    };
    const std::size_t left = bound(centre.x - extent, surface.width);
    const std::size_t right = bound(centre.x + extent + 1, surface.width);
    const std::size_t bottom = bound(centre.y + extent + 1, surface.height);
    const float soft = softness * static_cast<float>(view.pixel()) / radius;
    for (std::size_t y = bound(centre.y - extent, surface.height); y < bottom; ++y) {
        Pixel* row = surface.row(y);
        const double py = static_cast<double>(y) + 0.5;
        const ScenePoint start = view.toScene(0.5, py);
        const ScenePoint next = view.toScene(1.5, py);
        for (std::size_t x = left; x < right; ++x) {
            const auto steps = static_cast<float>(x);
            const float u = (start.x + steps * (next.x - start.x) - place.x) / radius;
            const float v = (start.y + steps * (next.y - start.y) - place.y) / radius;
            const Spot spot = spotAt(u, v, soft);
            if (spot.cover > 0)
                row[x] = blend(row[x], palette_[spot.colour], static_cast<int>(spot.cover * 256));
        }
    }
}

} // namespace tavelo
