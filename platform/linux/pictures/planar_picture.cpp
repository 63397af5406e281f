// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/planar_picture.h"

#include <libyuv.h>

#include <algorithm>

namespace tavelo {
namespace {

// Rows of a reduced picture that are made at once, so that what is between the steps stays in the cache.
constexpr int reducedBandRows = 8;

// At once, since each row of chroma is mixed with its neighbours.
bool drawAsItIs(const PlanarPicture& picture, const PixelBuffer& destination) {
    const int stride = picture.chroma[0].bytesPerRow;
    const auto convert =
        picture.halfChromaRows ? libyuv::I420ToARGBMatrixFilter : libyuv::I422ToARGBMatrixFilter;
    return convert(picture.at(picture.luma), picture.luma.bytesPerRow, picture.at(picture.chroma[0]), stride,
                   picture.at(picture.chroma[1]), stride, destination.baseAddress(),
                   int(destination.bytesPerRow()), &libyuv::kYuvJPEGConstants, int(destination.width()),
                   int(destination.height()), libyuv::kFilterBilinear) == 0;
}

} // namespace

/// Some rows of a reduced picture, and where their planes are made.
struct PlanarReducer::Band {
    int first = 0;
    int rows = 0;
    int width = 0;
    std::uint8_t* luma = nullptr;
    std::uint8_t* chroma[2] = {};
    std::uint8_t* between = nullptr; // chroma before it is halved once more
};

bool PlanarReducer::draw(const PlanarPicture& picture, const PixelBuffer& destination, unsigned reduction) {
    if (reduction == 1 && !picture.grey) return drawAsItIs(picture, destination);
    const int width = int(destination.width());
    const int height = int(destination.height());
    memory_.resize(std::size_t(width) * reducedBandRows * (3 + 4));
    Band band;
    band.width = width;
    band.luma = memory_.data();
    band.chroma[0] = band.luma + std::ptrdiff_t(width) * reducedBandRows;
    band.chroma[1] = band.chroma[0] + std::ptrdiff_t(width) * reducedBandRows;
    band.between = band.chroma[1] + std::ptrdiff_t(width) * reducedBandRows;
    for (; band.first < height; band.first += reducedBandRows) {
        band.rows = std::min(reducedBandRows, height - band.first);
        if (!drawBand(picture, destination, int(reduction), band)) return false;
    }
    return true;
}

// To the size that luma has then.
PlanarReducer::Rows PlanarReducer::reduceChroma(const PlanarPicture& picture, int which, int reduction,
                                                const Band& band) {
    const PlanarPicture::Plane& plane = picture.chroma[which];
    const int row = band.first * reduction / (picture.halfChromaRows ? 2 : 1);
    Rows chroma{picture.at(plane) + std::ptrdiff_t(row) * plane.bytesPerRow, plane.bytesPerRow};
    if (!picture.halfChromaRows) {
        std::uint8_t* mean = reduction == 2 ? band.chroma[which] : band.between;
        const int width = band.width * reduction / 2;
        libyuv::InterpolatePlane(chroma.first, 2 * chroma.stride, chroma.first + chroma.stride,
                                 2 * chroma.stride, mean, width, width, band.rows * reduction / 2, 128);
        chroma = {mean, width};
    }
    if (reduction == 4) {
        libyuv::ScalePlane(chroma.first, chroma.stride, 2 * band.width, 2 * band.rows, band.chroma[which],
                           band.width, band.width, band.rows, libyuv::kFilterBox);
        chroma = {band.chroma[which], band.width};
    }
    return chroma;
}

// A side that the reduction does not divide takes its last pixels from the padding.
bool PlanarReducer::drawBand(const PlanarPicture& picture, const PixelBuffer& destination, int reduction,
                             const Band& band) {
    const int width = band.width;
    const int rows = band.rows;
    const int toStride = int(destination.bytesPerRow());
    std::uint8_t* to = destination.baseAddress() + std::ptrdiff_t(band.first) * toStride;
    const int lumaStride = picture.luma.bytesPerRow;
    const std::uint8_t* luma = picture.at(picture.luma) + std::ptrdiff_t(band.first) * reduction * lumaStride;
    if (reduction > 1) {
        libyuv::ScalePlane(luma, lumaStride, width * reduction, rows * reduction, band.luma, width, width,
                           rows, libyuv::kFilterBox);
        luma = band.luma;
    }
    const int stride = reduction > 1 ? width : lumaStride;
    if (picture.grey) return libyuv::J400ToARGB(luma, stride, to, toStride, width, rows) == 0;

    const Rows u = reduceChroma(picture, 0, reduction, band);
    const Rows v = reduceChroma(picture, 1, reduction, band);
    return libyuv::I444ToARGBMatrix(luma, stride, u.first, u.stride, v.first, v.stride, to, toStride,
                                    &libyuv::kYuvJPEGConstants, width, rows) == 0;
}

} // namespace tavelo
