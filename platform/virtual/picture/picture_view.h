// SPDX-License-Identifier: MIT
// Maps pixels to scene coordinates and back.
#pragma once

#include <cmath>
#include <cstddef>

#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

struct ScenePoint {
    float x = 0;
    float y = 0;
};

/// One scene unit is the picture's height at zoom 1; x points right, y down; the origin is the centre of the
/// picture at rest.
class PictureView {
public:
    static constexpr double verticalFieldOfView = 36; // degrees

    PictureView(const PictureSettings& settings, std::size_t width, std::size_t height)
        : scale_(static_cast<double>(height) * settings.zoom),
          centreX_(static_cast<double>(width) / 2),
          centreY_(static_cast<double>(height) / 2),
          cosine_(std::cos(settings.roll * degree)),
          sine_(std::sin(settings.roll * degree)),
          lookX_(settings.pan / verticalFieldOfView),
          lookY_(-settings.tilt / verticalFieldOfView) {}

    /// Side of a pixel in scene units.
    double pixel() const { return 1 / scale_; }
    double scale() const { return scale_; }

    ScenePoint toScene(double px, double py) const {
        const double u = (px - centreX_) / scale_;
        const double v = (py - centreY_) / scale_;
        return {static_cast<float>(u * cosine_ - v * sine_ + lookX_),
                static_cast<float>(u * sine_ + v * cosine_ + lookY_)};
    }

    ScenePoint toPicture(double x, double y) const {
        const double u = x - lookX_;
        const double v = y - lookY_;
        return {static_cast<float>((u * cosine_ + v * sine_) * scale_ + centreX_),
                static_cast<float>((v * cosine_ - u * sine_) * scale_ + centreY_)};
    }

private:
    static constexpr double degree = 3.14159265358979323846 / 180;

    double scale_;
    double centreX_;
    double centreY_;
    double cosine_;
    double sine_;
    double lookX_;
    double lookY_;
};

} // namespace tavelo
