// SPDX-License-Identifier: MIT
#include "video/cpu/bilinear_scaler.h"

#include <libyuv/planar_functions.h>

#include <algorithm>
#include <cmath>

namespace tavelo {
namespace {

constexpr std::uint32_t opaqueBlack = 0xFF000000;
constexpr std::uint32_t evenBytes = 0x00FF00FF;

// Mixes two bytes at once.  Each has sixteen bits of space, enough for 255 * 256 + 128.
constexpr std::uint32_t mixPairs(std::uint32_t a, std::uint32_t b, std::uint32_t fraction) {
    return ((a * (256 - fraction) + b * fraction + 0x00800080) >> 8) & evenBytes;
}

constexpr std::uint32_t mix(std::uint32_t a, std::uint32_t b, std::uint32_t fraction) {
    const std::uint32_t even = mixPairs(a & evenBytes, b & evenBytes, fraction);
    const std::uint32_t odd = mixPairs((a >> 8) & evenBytes, (b >> 8) & evenBytes, fraction);
    return even | odd << 8;
}

double snapped(double edge) {
    return std::round(edge * 256) / 256;
}

std::uint32_t* pixelRow(const Pixels& target, std::size_t y) {
    return reinterpret_cast<std::uint32_t*>(target.bytes + y * target.bytesPerRow);
}

} // namespace

void BilinearScaler::Axis::prepare(std::size_t newSourceLength, std::size_t newTargetLength,
                                   double newScale) {
    if (sourceLength == newSourceLength && targetLength == newTargetLength && scale == newScale) return;
    sourceLength = newSourceLength;
    targetLength = newTargetLength;
    scale = newScale;
    begin = 0;
    samples.clear();

    const double extent = double(targetLength) * scale;
    const double origin = (double(targetLength) - extent) / 2;
    // A pixel is covered if its centre is, or if the near edge goes through its centre.  Like GPUs, round the
    // edges to 256ths, so that rounding errors do not matter.
    const double nearEdge = snapped(origin);
    const double farEdge = snapped(origin + extent);
    const auto last = std::int64_t(sourceLength) - 1;
    for (std::size_t i = 0; i < targetLength; ++i) {
        const double centre = double(i) + 0.5;
        if (centre < nearEdge || centre >= farEdge) {
            if (samples.empty()) begin = i + 1;
            continue;
        }
        const double along = (centre - origin) / extent;
        // In 256ths of a source pixel, from the first pixel's centre.
        const auto position = std::int64_t(std::floor((along * double(sourceLength) - 0.5) * 256 + 0.5));
        const std::int64_t clamped = std::clamp<std::int64_t>(position, 0, last * 256);
        samples.push_back({std::uint32_t(clamped / 256), std::uint32_t(clamped % 256)});
    }
}

void BilinearScaler::draw(const ConstPixels& source, const Pixels& target, double scaleX, double scaleY) {
    columns_.prepare(source.width, target.width, scaleX);
    rows_.prepare(source.height, target.height, scaleY);
    row_.resize(source.width + 1);
    for (std::size_t y = 0; y < target.height; ++y) {
        std::uint32_t* row = pixelRow(target, y);
        if (y < rows_.begin || y >= rows_.end() || columns_.samples.empty())
            std::fill_n(row, target.width, opaqueBlack);
        else
            drawRow(blendRows(source, rows_.samples[y - rows_.begin]), row);
    }
}

const std::uint32_t* BilinearScaler::blendRows(const ConstPixels& source, Sample row) {
    const std::uint8_t* first = source.bytes + row.first * source.bytesPerRow;
    const std::uint8_t* second = row.fraction == 0 ? first : first + source.bytesPerRow;
    libyuv::InterpolatePlane(first, 0, second, 0, reinterpret_cast<std::uint8_t*>(row_.data()), 0,
                             int(source.width * 4), 1, int(row.fraction));
    row_[source.width] = row_[source.width - 1]; // the last pixel's neighbour, which has weight 0
    return row_.data();
}

void BilinearScaler::drawRow(const std::uint32_t* blended, std::uint32_t* target) const {
    std::fill_n(target, columns_.begin, opaqueBlack);
    std::uint32_t* out = target + columns_.begin;
    for (const Sample& sample : columns_.samples)
        *out++ = mix(blended[sample.first], blended[sample.first + 1], sample.fraction) | opaqueBlack;
    std::fill_n(out, columns_.targetLength - columns_.end(), opaqueBlack);
}

} // namespace tavelo
