// SPDX-License-Identifier: MIT
#include "video/cpu/bilinear_scaler.h"

#include <libyuv/planar_functions.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tavelo {
namespace {

constexpr std::uint32_t opaqueBlack = 0xFF000000;
constexpr std::uint64_t opaquePair = 0xFF000000FF000000;

// The channels of a pixel and of its right neighbour.
using PairBytes [[gnu::vector_size(8)]] = std::uint8_t;
using PairWords = BilinearScaler::PairWords;

PairWords pairAt(const std::uint32_t* pixel) {
    PairBytes bytes;
    std::memcpy(&bytes, pixel, sizeof(bytes));
    return __builtin_convertvector(bytes, PairWords);
}

// Two mixed pixels.  The sums need sixteen bits: 255 * 256 + 128.
std::uint64_t mixed(PairWords first, PairWords second) {
    const PairWords left = __builtin_shufflevector(first, second, 0, 1, 2, 3, 8, 9, 10, 11);
    const PairWords right = __builtin_shufflevector(first, second, 4, 5, 6, 7, 12, 13, 14, 15);
    const auto bytes = __builtin_convertvector((left + right + 128) >> 8, PairBytes);
    std::uint64_t pixels = 0;
    std::memcpy(&pixels, &bytes, sizeof(pixels));
    return pixels | opaquePair;
}

double snapped(double edge) {
    return std::round(edge * 256) / 256;
}

std::uint32_t* pixelRow(const Pixels& target, std::size_t y) {
    return reinterpret_cast<std::uint32_t*>(target.bytes + y * target.bytesPerRow);
}

} // namespace

bool BilinearScaler::Axis::prepare(std::size_t newSourceLength, std::size_t newTargetLength,
                                   double newScale) {
    if (sourceLength == newSourceLength && targetLength == newTargetLength && scale == newScale) return false;
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
    return true;
}

void BilinearScaler::weighColumns() {
    weights_.clear();
    for (const Sample& sample : columns_.samples) {
        const auto right = std::uint16_t(sample.fraction);
        const auto left = std::uint16_t(256 - sample.fraction);
        weights_.push_back(PairWords{left, left, left, left, right, right, right, right});
    }
}

void BilinearScaler::draw(const ConstPixels& source, const Pixels& target, double scaleX, double scaleY) {
    if (columns_.prepare(source.width, target.width, scaleX)) weighColumns();
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
    const std::size_t count = columns_.samples.size();
    const auto weighted = [&](std::size_t column) {
        return pairAt(blended + columns_.samples[column].first) * weights_[column];
    };
    for (std::size_t column = 0; column < count; column += 2) {
        const PairWords first = weighted(column);
        const bool alone = column + 1 == count;
        const std::uint64_t pixels = mixed(first, alone ? first : weighted(column + 1));
        std::memcpy(out, &pixels, (alone ? 1 : 2) * sizeof(*out));
        out += alone ? 1 : 2;
    }
    std::fill_n(out, columns_.targetLength - columns_.end(), opaqueBlack);
}

} // namespace tavelo
