// SPDX-License-Identifier: MIT
// Whether two pictures of the panel look alike, and where they do not.
#pragma once

#include <QImage>
#include <QRect>

namespace tavelo {

struct PictureDifference {
    /// Mean difference, 0 to 255, of the square that differs most; 255 for pictures of different sizes.
    double worst = 0;
    /// That square, in pixels.
    QRect where;
};

/// Squares, because antialiasing differs by a little in many pixels from one version of a font library to the
/// next, and a text that moved differs by much in a few.  A pixel's difference is that of the channel which
/// differs most, transparency included; colours count as much as they show.
PictureDifference comparePictures(const QImage& kept, const QImage& drawn);

/// What a square may differ by.
inline constexpr double pictureTolerance = 4;

/// The drawn picture, darkened, and in red what differs.
QImage showDifference(const QImage& kept, const QImage& drawn);

} // namespace tavelo
