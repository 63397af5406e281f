// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/movie_picture.h"

#include <libyuv.h>

#include <algorithm>

namespace tavelo {
namespace {

constexpr int movieBandRows = 16; // even; a band stays in the cache between the steps

// Full range becomes limited by mixing each value with a constant, in 256ths.  That is what the mean of two
// planes does, which is fast everywhere: luma 220 parts and 36 of 114, chroma 225 parts and 31 of the middle.
constexpr int lumaMix = 36;
constexpr std::uint8_t lumaLift = 114;
constexpr int chromaMix = 31;
constexpr std::uint8_t noColour = 128;

constexpr int meanOfTwo = 128;

/// Where a row goes, and how far the next one is.
struct Place {
    std::uint8_t* row = nullptr;
    int advance = 0;
};

Place placeOf(const PixelBuffer::Plane& plane, int row, bool upsideDown) {
    const auto bytes = std::ptrdiff_t(plane.bytesPerRow);
    const std::ptrdiff_t last = std::ptrdiff_t(plane.height) - 1;
    if (upsideDown) return {plane.baseAddress + (last - row) * bytes, int(-bytes)};
    return {plane.baseAddress + row * bytes, int(bytes)};
}

} // namespace

bool hasMoviePicture(const FrameFormat& format) {
    return isPacked(format.format) && format.matrix == YuvMatrix::bt601 && format.size.width % 2 == 0 &&
           format.size.height % 2 == 0;
}

void MoviePictureDrawer::prepare(int width) {
    const auto row = std::size_t(width);
    const std::size_t nv12 = row * movieBandRows * 3 / 2;
    if (const std::size_t needed = nv12 * 2 + row * movieBandRows + row * 2; memory_.size() != needed) {
        memory_.resize(needed);
        std::fill_n(memory_.end() - std::ptrdiff_t(row * 2), row, noColour);
        std::fill_n(memory_.end() - std::ptrdiff_t(row), row, lumaLift);
    }
    made_ = memory_.data();
    limited_ = made_ + nv12;
    split_ = limited_ + nv12;
    chromaLift_ = split_ + row * movieBandRows;
    lumaLift_ = chromaLift_ + row;
}

void MoviePictureDrawer::draw(const PlanarPicture& picture, const MoviePlanes& destination,
                              Mirroring mirroring) {
    const int width = int(picture.size.width);
    const int height = int(picture.size.height);
    const int pairs = width / 2;
    prepare(width);
    std::uint8_t* chroma = made_ + std::ptrdiff_t(width) * movieBandRows;
    if (picture.grey) std::fill_n(chroma, std::ptrdiff_t(width) * movieBandRows / 2, noColour);
    for (int first = 0; first < height; first += movieBandRows) {
        const int count = std::min(movieBandRows, height - first);
        for (int i = 0; i < 2 && !picture.grey; ++i) {
            const int stride = picture.chroma[i].bytesPerRow;
            const std::uint8_t* from = picture.at(picture.chroma[i]);
            std::uint8_t* to = split_ + std::ptrdiff_t(i) * pairs * (movieBandRows / 2);
            if (picture.halfChromaRows) {
                libyuv::CopyPlane(from + std::ptrdiff_t(first / 2) * stride, stride, to, pairs, pairs,
                                  count / 2);
            } else {
                from += std::ptrdiff_t(first) * stride;
                libyuv::InterpolatePlane(from, 2 * stride, from + stride, 2 * stride, to, pairs, pairs,
                                         count / 2, meanOfTwo);
            }
        }
        if (!picture.grey)
            libyuv::MergeUVPlane(split_, pairs, split_ + std::ptrdiff_t(pairs) * (movieBandRows / 2), pairs,
                                 chroma, width, pairs, count / 2);
        const int stride = picture.luma.bytesPerRow;
        finish({picture.at(picture.luma) + std::ptrdiff_t(first) * stride, stride, chroma, width, width,
                first, count},
               true, destination, mirroring);
    }
}

void MoviePictureDrawer::draw(const FrameFormat& format, const std::uint8_t* bytes,
                              const MoviePlanes& destination, Mirroring mirroring) {
    const int width = int(format.size.width);
    const int height = int(format.size.height);
    const int stride = int(format.bytesPerLine);
    prepare(width);
    std::uint8_t* chroma = made_ + std::ptrdiff_t(width) * movieBandRows;
    const bool lumaFirst = format.format == fourcc::yuyv;
    for (int first = 0; first < height; first += movieBandRows) {
        const int count = std::min(movieBandRows, height - first);
        // Every second byte is luma; what is between is chroma in pairs already.
        libyuv::SplitUVPlane(bytes + std::ptrdiff_t(first) * stride, stride, lumaFirst ? made_ : split_,
                             width, lumaFirst ? split_ : made_, width, width, count);
        libyuv::InterpolatePlane(split_, 2 * width, split_ + width, 2 * width, chroma, width, width,
                                 count / 2, meanOfTwo);
        finish({made_, width, chroma, width, width, first, count}, format.fullRange, destination, mirroring);
    }
}

void MoviePictureDrawer::finish(Rows rows, bool fullRange, const MoviePlanes& destination,
                                Mirroring mirroring) {
    const int width = rows.width;
    if (fullRange) {
        std::uint8_t* chroma = limited_ + std::ptrdiff_t(width) * movieBandRows;
        libyuv::InterpolatePlane(rows.luma, rows.lumaStride, lumaLift_, 0, limited_, width, width, rows.count,
                                 lumaMix);
        libyuv::InterpolatePlane(rows.chroma, rows.chromaStride, chromaLift_, 0, chroma, width, width,
                                 rows.count / 2, chromaMix);
        rows.luma = limited_;
        rows.chroma = chroma;
        rows.lumaStride = rows.chromaStride = width;
    }
    const Place luma = placeOf(destination.luma, rows.first, mirroring.vertical);
    const Place chroma = placeOf(destination.chroma, rows.first / 2, mirroring.vertical);
    if (mirroring.horizontal) {
        libyuv::MirrorPlane(rows.luma, rows.lumaStride, luma.row, luma.advance, width, rows.count);
        libyuv::MirrorUVPlane(rows.chroma, rows.chromaStride, chroma.row, chroma.advance, width / 2,
                              rows.count / 2);
    } else {
        libyuv::CopyPlane(rows.luma, rows.lumaStride, luma.row, luma.advance, width, rows.count);
        libyuv::CopyPlane(rows.chroma, rows.chromaStride, chroma.row, chroma.advance, width, rows.count / 2);
    }
}

} // namespace tavelo
