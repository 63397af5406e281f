// SPDX-License-Identifier: MIT
#include "reference_case.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "test_picture.h"

namespace tavelo::testing {
namespace {

struct Extent {
    double width = 0;
    double height = 0;
};

// The frame's extent on the view, in pixels.
Extent placedExtent(const ReferenceCase& one) {
    const Extent view{double(one.viewWidth), double(one.viewHeight)};
    if (one.gravity == VideoGravity::resize) return view;
    const double across = view.width / one.width;
    const double down = view.height / one.height;
    const double zoom =
        one.gravity == VideoGravity::resizeAspect ? std::min(across, down) : std::max(across, down);
    return {one.width * zoom, one.height * zoom};
}

std::array<double, 3> mirroredPixel(const ReferenceCase& one, int x, int y) {
    x = std::clamp(x, 0, one.width - 1);
    y = std::clamp(y, 0, one.height - 1);
    if (one.flipHorizontal) x = one.width - 1 - x;
    if (one.flipVertical) y = one.height - 1 - y;
    const Colour colour =
        testColour(std::size_t(x), std::size_t(y), std::size_t(one.width), std::size_t(one.height));
    return {double(colour.red), double(colour.green), double(colour.blue)};
}

// The colour at (x, y) in frame pixels; the first pixel's centre is at 0.5.
QRgb sampled(const ReferenceCase& one, double x, double y) {
    const double left = std::floor(x - 0.5);
    const double top = std::floor(y - 0.5);
    const double right = x - 0.5 - left;
    const double bottom = y - 0.5 - top;
    std::array<double, 3> sum{};
    for (int dy = 0; dy < 2; ++dy) {
        for (int dx = 0; dx < 2; ++dx) {
            const double weight = (dx == 1 ? right : 1 - right) * (dy == 1 ? bottom : 1 - bottom);
            const auto pixel = mirroredPixel(one, int(left) + dx, int(top) + dy);
            for (std::size_t channel = 0; channel < 3; ++channel)
                sum[channel] += weight * pixel[channel];
        }
    }
    return qRgb(int(std::lround(sum[0])), int(std::lround(sum[1])), int(std::lround(sum[2])));
}

const char* gravityName(VideoGravity gravity) {
    switch (gravity) {
        case VideoGravity::resize:
            return "resize";
        case VideoGravity::resizeAspect:
            return "aspect";
        case VideoGravity::resizeAspectFill:
            break;
    }
    return "fill";
}

} // namespace

QString referenceName(const ReferenceCase& one) {
    QString name = QStringLiteral("%1x%2-in-%3x%4-%5")
                       .arg(one.width)
                       .arg(one.height)
                       .arg(one.viewWidth)
                       .arg(one.viewHeight)
                       .arg(QLatin1String(gravityName(one.gravity)));
    if (one.flipHorizontal || one.flipVertical) name += QLatin1Char('-');
    if (one.flipHorizontal) name += QLatin1Char('h');
    if (one.flipVertical) name += QLatin1Char('v');
    return name + QStringLiteral(".png");
}

std::vector<ReferenceCase> referenceCases() {
    using enum VideoGravity;
    std::vector<ReferenceCase> cases;
    for (const VideoGravity gravity : {resize, resizeAspect, resizeAspectFill}) {
        for (const bool horizontal : {false, true})
            for (const bool vertical : {false, true})
                cases.push_back({61, 37, 97, 83, gravity, horizontal, vertical});
        cases.push_back({160, 90, 53, 31, gravity, true, false});
        cases.push_back({37, 61, 83, 40, gravity, false, false});
        cases.push_back({5, 3, 90, 7, gravity, true, true});
    }
    cases.push_back({64, 48, 64, 48, resizeAspect, false, false});
    cases.push_back({64, 48, 64, 48, resizeAspectFill, true, false});
    cases.push_back({1, 1, 9, 5, resizeAspect, true, false});
    cases.push_back({33, 17, 1, 1, resizeAspectFill, false, false});
    return cases;
}

QImage drawReference(const ReferenceCase& one) {
    const Extent extent = placedExtent(one);
    const double left = (one.viewWidth - extent.width) / 2;
    const double top = (one.viewHeight - extent.height) / 2;
    QImage image(one.viewWidth, one.viewHeight, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (int y = 0; y < one.viewHeight; ++y) {
        for (int x = 0; x < one.viewWidth; ++x) {
            const double across = (x + 0.5 - left) / extent.width;
            const double down = (y + 0.5 - top) / extent.height;
            if (across < 0 || across >= 1 || down < 0 || down >= 1) continue;
            image.setPixel(x, y, sampled(one, across * one.width, down * one.height));
        }
    }
    return image;
}

QImage loadReference(const ReferenceCase& one) {
    return QImage(QStringLiteral(TAVELO_REFERENCE_PICTURES "/") + referenceName(one))
        .convertToFormat(QImage::Format_RGB32);
}

Difference compare(const QImage& a, const QImage& b) {
    if (a.size() != b.size()) return {256, {}};
    Difference difference;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            const int here = std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                       std::abs(qBlue(p) - qBlue(q))});
            if (here > difference.largest) difference = {here, {x, y}};
        }
    }
    return difference;
}

} // namespace tavelo::testing
