// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_instruments.h"

#include <algorithm>

#include "platform/virtual/picture/picture_font.h"

namespace tavelo {
namespace {

constexpr Pixel dark{40, 30, 24, 255};
constexpr int plateWeight = 150; // of 256
constexpr std::size_t frameDigits = 6;

constexpr std::array<Pixel, 8> barColours{{{230, 230, 230, 255},
                                           {40, 205, 215, 255},
                                           {205, 200, 50, 255},
                                           {60, 180, 60, 255},
                                           {190, 60, 190, 255},
                                           {45, 45, 205, 255},
                                           {205, 70, 45, 255},
                                           {30, 30, 30, 255}}};
constexpr std::size_t greySteps = 8;

std::string cameraText(int number) {
    return "CAM " + std::to_string(std::clamp(number, 0, 99));
}

} // namespace

std::size_t Instruments::patchSide(std::size_t height) {
    return std::max<std::size_t>(height / 14, 2);
}

Instruments::Instruments(int cameraNumber, std::size_t width, std::size_t height)
    : cameraText_(cameraText(cameraNumber)),
      width_(width),
      height_(height),
      patch_(patchSide(height)),
      dot_(std::max<std::size_t>(height / 120, 1)),
      cameraPlate_(plate(cameraText_.size(), false)),
      framePlate_(plate(frameDigits, true)) {
    const std::size_t right = width > patch_ ? width - patch_ : 0;
    const std::size_t bottom = height > patch_ ? height - patch_ : 0;
    areas_ = {{0, 0, patch_, patch_},
              {right, 0, patch_, patch_},
              {0, bottom, patch_, patch_},
              {right, bottom, patch_, patch_}};
    const std::size_t inner = width > 4 * patch_ ? width - 4 * patch_ : 0;
    const std::size_t step = inner / (barColours.size() + greySteps);
    const std::size_t barHeight = patch_ / 3;
    bars_ = {2 * patch_, height > barHeight ? height - barHeight : 0, step * (barColours.size() + greySteps),
             barHeight};
    areas_.push_back(bars_);
    areas_.push_back(cameraPlate_);
    areas_.push_back(framePlate_);
}

// A plate beside the upper patch of one side, as high as the patch.
Rectangle Instruments::plate(std::size_t letters, bool right) const {
    const std::size_t width = textWidth(letters) * dot_ + 6 * dot_;
    const std::size_t left = right ? (width_ > patch_ + width ? width_ - patch_ - width : 0) : patch_;
    return {left, 0, width, patch_};
}

void Instruments::paintBars(Raster& raster) const {
    const std::size_t step = bars_.width / (barColours.size() + greySteps);
    std::size_t left = bars_.left;
    for (const Pixel colour : barColours) {
        fill(raster, {left, bars_.top, step, bars_.height}, colour);
        left += step;
    }
    for (std::size_t i = 0; i < greySteps; ++i) {
        const auto grey = static_cast<std::uint8_t>(255 * i / (greySteps - 1));
        fill(raster, {left, bars_.top, step, bars_.height}, {grey, grey, grey, 255});
        left += step;
    }
}

void Instruments::paint(Raster& raster) const {
    paintBars(raster);
    fill(raster, cameraPlate_, dark, plateWeight);
    fill(raster, framePlate_, dark, plateWeight);
    const std::size_t top = (patch_ - std::min(patch_, glyphHeight * dot_)) / 2;
    drawText(cameraText_, cameraPlate_.left + 3 * dot_, top, dot_,
             [&](const Rectangle& dot) { fill(raster, dot, instrumentInk); });
    for (std::size_t i = 0; i < patchColours.size(); ++i)
        fill(raster, areas_[i], patchColours[i]);
}

void Instruments::paintFrameNumber(std::uint64_t frame, Pixel colour, const Surface& surface) const {
    std::array<char, frameDigits> digits{};
    for (std::size_t i = frameDigits; i-- > 0; frame /= 10)
        digits[i] = static_cast<char>('0' + frame % 10);
    const std::size_t top = (patch_ - std::min(patch_, glyphHeight * dot_)) / 2;
    drawText({digits.data(), digits.size()}, framePlate_.left + 3 * dot_, top, dot_,
             [&](const Rectangle& dot) {
                 const Rectangle part = clipped(dot, width_, height_);
                 for (std::size_t y = part.top; y < part.top + part.height; ++y)
                     std::fill_n(surface.row(y) + part.left, part.width, colour);
             });
}

} // namespace tavelo
