// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/picture_colour.h"

#include <algorithm>
#include <cmath>

namespace tavelo {
namespace {

constexpr double one = 4096;
constexpr double pi = 3.14159265358979323846;

// Weights of red, green and blue in perceived brightness.
constexpr std::array<double, 3> luma{0.299, 0.587, 0.114};

using Matrix = std::array<std::array<double, 3>, 3>;

Matrix multiply(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t k = 0; k < 3; ++k)
                result[i][j] += a[i][k] * b[k][j];
    return result;
}

Matrix saturationMatrix(double saturation) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[i][j] = (1 - saturation) * luma[j] + (i == j ? saturation : 0);
    return result;
}

// Rotation around the grey axis; greys do not change.
Matrix hueMatrix(double degrees) {
    const double c = std::cos(degrees * pi / 180);
    const double s = std::sin(degrees * pi / 180) / std::sqrt(3.0);
    const double third = (1 - c) / 3;
    return {{{c + third, third - s, third + s},
             {third + s, c + third, third - s},
             {third - s, third + s, c + third}}};
}

Matrix lightMatrix(const PictureSettings& settings) {
    const double light = settings.contrast * settings.exposure;
    return {{{light * (1 + 0.30 * settings.whiteBalance), 0, 0},
             {0, light, 0},
             {0, 0, light * (1 - 0.40 * settings.whiteBalance)}}};
}

std::int32_t fixed(double value) {
    return static_cast<std::int32_t>(std::lround(value * one));
}

} // namespace

ColourPipeline::ColourPipeline(const PictureSettings& settings) {
    const Matrix colours = multiply(saturationMatrix(settings.saturation), hueMatrix(settings.hue));
    const Matrix whole = multiply(colours, lightMatrix(settings));
    // The offset can be added last: it is grey, and both matrices of `colours` keep greys.
    const std::int32_t offset = fixed(255 * (0.5 - 0.5 * settings.contrast + settings.brightness) + 0.5);
    const auto row = [offset](const std::array<double, 3>& values) {
        return Row{fixed(values[0]), fixed(values[1]), fixed(values[2]), offset};
    };
    red_ = row(whole[0]);
    green_ = row(whole[1]);
    blue_ = row(whole[2]);
    for (std::size_t i = 0; i < gamma_.size(); ++i) {
        const double lifted = std::pow(static_cast<double>(i) / 255, 1 / settings.gamma);
        gamma_[i] = static_cast<std::uint8_t>(std::lround(lifted * 255));
    }
}

std::uint8_t ColourPipeline::channel(const Row& row, Pixel in) const {
    const std::int32_t sum = row.red * in.red + row.green * in.green + row.blue * in.blue + row.offset;
    return gamma_[static_cast<std::size_t>(std::clamp(sum >> 12, 0, 255))];
}

Pixel ColourPipeline::operator()(Pixel in) const {
    return {channel(blue_, in), channel(green_, in), channel(red_, in), 255};
}

void ColourPipeline::apply(const Pixel* in, Pixel* out, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i)
        out[i] = (*this)(in[i]);
}

} // namespace tavelo
