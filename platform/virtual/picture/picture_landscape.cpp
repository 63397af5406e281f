// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_landscape.h"

#include <cmath>

namespace tavelo {
namespace {

// Scene coordinates.
constexpr float sceneHalfWidth = 3.0F;
constexpr std::size_t skylineSteps = 12'000;
constexpr float skyTop = -0.8F;
constexpr float skyBottom = 0.16F;
constexpr float shore = 0.19F;
constexpr float sunX = -0.34F;
constexpr float sunY = -0.11F;
constexpr float sunRadius = 0.045F;

constexpr Colour zenith{0.16F, 0.31F, 0.55F};
constexpr Colour blueSky{0.45F, 0.63F, 0.80F};
constexpr Colour haze{0.97F, 0.83F, 0.68F};
constexpr Colour sunlight{1.00F, 0.95F, 0.80F};
constexpr Colour cloud{1.00F, 0.96F, 0.92F};
constexpr Colour snow{0.97F, 0.96F, 0.98F};
constexpr Colour farRock{0.52F, 0.56F, 0.72F};
constexpr Colour middleRock{0.33F, 0.42F, 0.58F};
constexpr Colour woods{0.16F, 0.29F, 0.37F};
constexpr Colour deepWater{0.10F, 0.22F, 0.34F};
constexpr Colour grass{0.34F, 0.45F, 0.20F};
constexpr Colour shade{0.07F, 0.16F, 0.13F};

// A triangle wave of period 1, from 0 to 1 and back.
float triangle(float x) {
    return std::abs(2 * (x - std::floor(x + 0.5F)));
}

float ridge(float x, float base, float amplitude, float frequency, float phase) {
    const float peaks = 0.55F * triangle(frequency * x + phase) +
                        0.28F * triangle(2.3F * frequency * x - phase) +
                        0.12F * triangle(5.9F * frequency * x + 0.3F) + 0.05F * triangle(17 * frequency * x);
    return base - amplitude * peaks;
}

float treeLine(float x) {
    const float ground = 0.165F - 0.02F * std::sin(2.1F * x + 0.6F) - 0.012F * std::sin(5.3F * x);
    return ground - 0.012F * triangle(61 * x) - 0.006F * triangle(143 * x + 0.4F);
}

// Rises to the right and carries a few pines, so that the picture is asymmetric.
float foreground(float x) {
    float height = 0.47F - 0.19F * smoothStep(-0.25F, 0.95F, x) - 0.008F * std::sin(9 * x);
    struct Pine {
        float x, height;
    };
    constexpr std::array<Pine, 7> pines{{{0.30F, 0.10F},
                                         {0.36F, 0.17F},
                                         {0.43F, 0.13F},
                                         {0.58F, 0.24F},
                                         {0.66F, 0.18F},
                                         {0.98F, 0.21F},
                                         {1.06F, 0.15F}}};
    const float ground = height;
    for (const Pine& pine : pines) {
        const float t =
            std::abs(x - pine.x) / (0.24F * pine.height); // 0 at the trunk, 1 at the lowest branches
        if (t >= 1) continue;
        const float branches = 0.10F * triangle(4.5F * t);
        height = std::min(height, ground + 0.01F - pine.height * (1 - t + branches * t));
    }
    return height;
}

struct Puff {
    float x, y, width, height;
};
constexpr std::array<Puff, 9> puffs{{{0.28F, -0.30F, 0.19F, 0.030F},
                                     {0.36F, -0.325F, 0.10F, 0.035F},
                                     {0.21F, -0.318F, 0.08F, 0.026F},
                                     {-0.52F, -0.345F, 0.15F, 0.022F},
                                     {-0.46F, -0.36F, 0.07F, 0.025F},
                                     {0.80F, -0.20F, 0.16F, 0.020F},
                                     {0.86F, -0.215F, 0.08F, 0.024F},
                                     {-0.95F, -0.24F, 0.20F, 0.026F},
                                     {-0.02F, -0.205F, 0.13F, 0.012F}}};
constexpr float cloudsTop = -0.39F;
constexpr float cloudsBottom = -0.17F;

float cloudAt(float x, float y) {
    if (y < cloudsTop || y > cloudsBottom) return 0;
    float density = 0;
    for (const Puff& puff : puffs) {
        const float dx = (x - puff.x) / puff.width;
        const float dy = (y - puff.y) / puff.height;
        const float inside = 1 - dx * dx - dy * dy;
        if (inside > 0) density += inside;
    }
    return clamp01(density) * 0.85F;
}

// Weight of what lies below `edge`, smoothed over one pixel.
float below(float y, float edge, float pixel) {
    return clamp01((y - edge) / pixel + 0.5F);
}

} // namespace

Landscape::Skyline::Skyline(float (*height)(float x)) {
    heights_.reserve(skylineSteps + 1);
    for (std::size_t i = 0; i <= skylineSteps; ++i) {
        const float x = sceneHalfWidth * (2 * static_cast<float>(i) / skylineSteps - 1);
        heights_.push_back(height(x));
    }
    top_ = *std::ranges::min_element(heights_);
}

float Landscape::Skyline::at(float x) const {
    constexpr float stepsPerUnit = skylineSteps / (2 * sceneHalfWidth);
    const float position = std::clamp((x + sceneHalfWidth) * stepsPerUnit, 0.0F, skylineSteps - 1.0F);
    const auto index = static_cast<std::size_t>(position);
    const float fraction = position - static_cast<float>(index);
    return heights_[index] + (heights_[index + 1] - heights_[index]) * fraction;
}

Landscape::Landscape()
    : farRange_([](float x) { return ridge(x, 0.12F, 0.24F, 1.15F, 0.18F); }),
      middleRange_([](float x) { return ridge(x, 0.16F, 0.12F, 1.9F, 0.61F); }),
      forest_(treeLine),
      hill_(foreground),
      highest_(std::min({farRange_.top(), middleRange_.top(), forest_.top(), hill_.top()})) {
    for (std::size_t i = 0; i < gradientSteps; ++i) {
        const float t = static_cast<float>(i) / (gradientSteps - 1);
        gradient_[i] = t < 0.55F ? mix(zenith, blueSky, smoothStep(0, 0.55F, t))
                                 : mix(blueSky, haze, smoothStep(0.5F, 1, t));
    }
}

Colour Landscape::skyAt(float x, float y) const {
    const float t = clamp01((y - skyTop) / (skyBottom - skyTop));
    Colour colour = gradient_[static_cast<std::size_t>(t * (gradientSteps - 1))];
    const float dx = x - sunX;
    const float dy = y - sunY;
    const float distance2 = dx * dx + dy * dy;
    colour = mix(colour, sunlight, std::min(0.9F, 0.012F / (distance2 + 0.012F)));
    const float cover = cloudAt(x, y);
    if (cover > 0) colour = mix(colour, cloud, cover);
    return colour;
}

// Everything above the water except the foreground.
Colour Landscape::airAt(float x, float y, float pixel) const {
    Colour colour = skyAt(x, y);
    const float dx = x - sunX;
    const float dy = y - sunY;
    const float distance2 = dx * dx + dy * dy;
    if (distance2 < 0.01F)
        colour = mix(colour, {1, 1, 0.94F}, clamp01((sunRadius - std::sqrt(distance2)) / pixel + 0.5F));
    if (y + pixel < highest_) return colour;

    const float farEdge = farRange_.at(x);
    if (const float weight = below(y, farEdge, pixel); weight > 0) {
        const float cap =
            (1 - smoothStep(0.0F, 0.035F, y - farEdge)) * (1 - smoothStep(-0.08F, 0.02F, farEdge));
        const Colour rock = mix(mix(farRock, snow, cap), haze, 0.55F * smoothStep(-0.05F, shore, y));
        colour = mix(colour, rock, weight);
    }
    const float middleEdge = middleRange_.at(x);
    if (const float weight = below(y, middleEdge, pixel); weight > 0)
        colour = mix(colour, mix(middleRock, haze, 0.4F * smoothStep(0.02F, shore, y)), weight);
    if (const float weight = below(y, forest_.at(x), pixel); weight > 0) colour = mix(colour, woods, weight);
    return colour;
}

Colour Landscape::colourAt(float x, float y, float pixel) const {
    const float hillEdge = hill_.at(x);
    const float hillWeight = below(y, hillEdge, pixel);
    Colour colour;
    if (hillWeight < 1) {
        if (y < shore) {
            colour = airAt(x, y, pixel);
        } else {
            const float depth = y - shore;
            const float ripple =
                std::sin(620 * depth / (1 + 6 * depth)) + 0.5F * std::sin(37 * x + 900 * depth);
            const Colour mirrored =
                airAt(x + 0.004F * ripple * (0.3F + 4 * depth), shore - depth * 1.15F, pixel + 0.004F);
            colour = mix(mirrored, deepWater, 0.22F + 0.55F * smoothStep(0, 0.42F, depth) + 0.03F * ripple);
        }
    }
    if (hillWeight > 0) {
        const float ground = 0.47F - 0.19F * smoothStep(-0.25F, 0.95F, x);
        const float light =
            smoothStep(-0.01F, 0.22F, y - ground) * (0.75F + 0.25F * triangle(14 * x + 5 * y));
        colour = mix(colour, mix(shade, grass, light), hillWeight);
    }
    return colour;
}

void Landscape::paint(Raster& raster, const PictureView& view) const {
    const auto pixel = static_cast<float>(view.pixel());
    for (std::size_t row = 0; row < raster.height; ++row) {
        const double py = static_cast<double>(row) + 0.5;
        const ScenePoint first = view.toScene(0.5, py);
        const ScenePoint second = view.toScene(1.5, py);
        const float stepX = second.x - first.x;
        const float stepY = second.y - first.y;
        Pixel* out = raster.row(row);
        for (std::size_t column = 0; column < raster.width; ++column) {
            const auto steps = static_cast<float>(column);
            out[column] = toPixel(colourAt(first.x + steps * stepX, first.y + steps * stepY, pixel));
        }
    }
}

} // namespace tavelo
