// SPDX-License-Identifier: MIT
// Compares two pictures of the panel and finds where they differ.
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

/// Compares square by square: antialiasing that changes with the version of a font library gives small
/// differences in many pixels, moved text large ones in a few.  A pixel's difference is that of its worst
/// channel, alpha included; colours are weighted by alpha.
PictureDifference comparePictures(const QImage& kept, const QImage& drawn);

/// The largest difference that still counts as equal.
inline constexpr double pictureTolerance = 4;

/// The drawn picture, darkened, with the differences in red.
QImage showDifference(const QImage& kept, const QImage& drawn);

} // namespace tavelo
