// SPDX-License-Identifier: MIT
#include "integration/picture_comparison.h"

#include <algorithm>
#include <cstdlib>

namespace tavelo {
namespace {

constexpr int squareSide = 8;
constexpr double largest = 255;

// Premultiplied, so that the colour of transparent pixels does not count.
QImage comparable(const QImage& image) {
    QImage result = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    result.setDevicePixelRatio(1);
    return result;
}

int pixelDifference(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))});
}

double squareDifference(const QImage& a, const QImage& b, const QRect& square) {
    int sum = 0;
    for (int y = square.top(); y <= square.bottom(); ++y) {
        for (int x = square.left(); x <= square.right(); ++x)
            sum += pixelDifference(a.pixel(x, y), b.pixel(x, y));
    }
    return static_cast<double>(sum) / (square.width() * square.height());
}

} // namespace

PictureDifference comparePictures(const QImage& kept, const QImage& drawn) {
    if (kept.isNull() || kept.size() != drawn.size()) return {largest, drawn.rect()};
    const QImage a = comparable(kept);
    const QImage b = comparable(drawn);
    PictureDifference result;
    for (int y = 0; y < a.height(); y += squareSide) {
        for (int x = 0; x < a.width(); x += squareSide) {
            const QRect square = QRect(x, y, squareSide, squareSide).intersected(a.rect());
            const double difference = squareDifference(a, b, square);
            if (difference > result.worst) result = {difference, square};
        }
    }
    return result;
}

QImage showDifference(const QImage& kept, const QImage& drawn) {
    const QImage a = comparable(kept);
    const QImage b = comparable(drawn);
    QImage result = b.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < b.height(); ++y) {
        for (int x = 0; x < b.width(); ++x) {
            const QRgb pixel = b.pixel(x, y);
            const int difference = a.valid(x, y) ? pixelDifference(a.pixel(x, y), pixel) : 255;
            const int grey = qGray(pixel) / 4;
            result.setPixel(x, y, qRgb(std::min(255, grey + 8 * difference), grey, grey));
        }
    }
    return result;
}

} // namespace tavelo
