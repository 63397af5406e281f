// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/picture_reduction.h"

#include <libyuv.h>

#include <algorithm>

namespace tavelo {
namespace {

// Rows of a halved picture that are made at once, so that what is between the steps stays in the cache.
constexpr int bandRows = 8;

int halfSide(std::uint32_t value) {
    return int((value + 1) / 2);
}

unsigned mostReduction(Fourcc format) {
    if (format == fourcc::mjpeg) return 4;
    return format == fourcc::grey ? 1 : 2;
}

} // namespace

FrameSize reducedSize(FrameSize size, unsigned reduction) {
    return {(size.width + reduction - 1) / reduction, (size.height + reduction - 1) / reduction};
}

unsigned reductionFor(Fourcc format, FrameSize size, const PictureDemand& demand) {
    unsigned reduction = mostReduction(format);
    while (reduction > 1 &&
           (size.width / reduction < demand.shownWidth || size.height / reduction < demand.shownHeight))
        reduction /= 2;
    return reduction;
}

bool PictureHalver::halve(const FrameFormat& format, const std::uint8_t* bytes,
                          const PixelBuffer& destination) {
    return isPacked(format.format) ? halvePacked(format, bytes, destination)
                                   : halvePlanar(format, bytes, destination);
}

// Each pair of a packed row becomes one pixel with the chroma that it has.
bool PictureHalver::halvePacked(const FrameFormat& format, const std::uint8_t* bytes,
                                const PixelBuffer& destination) {
    const int pairs = halfSide(format.size.width);
    const int width = int(destination.width());
    const int rows = int(format.size.height);
    const int stride = int(format.bytesPerLine);
    const int row = 2 * pairs;
    memory_.resize(std::size_t(pairs) * (8 + 2 + 3) * bandRows);
    std::uint8_t* lumaRows = memory_.data();
    std::uint8_t* chromaRows = lumaRows + std::ptrdiff_t(row) * 2 * bandRows;
    std::uint8_t* chroma = chromaRows + std::ptrdiff_t(row) * 2 * bandRows;
    std::uint8_t* y = chroma + std::ptrdiff_t(row) * bandRows;
    std::uint8_t* u = y + std::ptrdiff_t(pairs) * bandRows;
    std::uint8_t* v = u + std::ptrdiff_t(pairs) * bandRows;
    const bool lumaFirst = format.format == fourcc::yuyv;
    for (int done = 0; 2 * done < rows;) {
        // The last row of an odd number is its own neighbour.
        const bool alone = 2 * done + 1 == rows;
        const int count = alone ? 1 : std::min(bandRows, rows / 2 - done);
        const std::uint8_t* from = bytes + std::ptrdiff_t(2) * done * stride;
        libyuv::SplitUVPlane(from, alone ? 0 : stride, lumaFirst ? lumaRows : chromaRows, row,
                             lumaFirst ? chromaRows : lumaRows, row, row, 2 * count);
        libyuv::ScalePlane(lumaRows, row, row, 2 * count, y, pairs, pairs, count, libyuv::kFilterBox);
        libyuv::InterpolatePlane(chromaRows, 2 * row, chromaRows + row, 2 * row, chroma, row, row, count,
                                 128);
        libyuv::SplitUVPlane(chroma, row, u, pairs, v, pairs, pairs, count);
        std::uint8_t* to = destination.baseAddress() + std::size_t(done) * destination.bytesPerRow();
        if (libyuv::I444ToARGBMatrix(y, pairs, u, pairs, v, pairs, to, int(destination.bytesPerRow()),
                                     yuvConstants(format), width, count) != 0)
            return false;
        done += count;
    }
    return true;
}

// The chroma of these has the halved size already.
bool PictureHalver::halvePlanar(const FrameFormat& format, const std::uint8_t* bytes,
                                const PixelBuffer& destination) {
    const int width = halfSide(format.size.width);
    const int height = halfSide(format.size.height);
    const int stride = int(format.bytesPerLine);
    const std::size_t plane = std::size_t(width) * std::size_t(height);
    memory_.resize(plane * 3);
    std::uint8_t* y = memory_.data();
    const std::uint8_t* chroma = bytes + std::size_t(stride) * format.size.height;
    const std::uint8_t* u = chroma;
    const std::uint8_t* v = chroma + std::size_t(stride / 2) * std::size_t(height);
    int chromaStride = stride / 2;
    if (format.format == fourcc::nv12) {
        std::uint8_t* split = y + plane;
        libyuv::SplitUVPlane(chroma, stride, split, width, split + plane, width, width, height);
        u = split;
        v = split + plane;
        chromaStride = width;
    }
    libyuv::ScalePlane(bytes, stride, int(format.size.width), int(format.size.height), y, width, width,
                       height, libyuv::kFilterBox);
    return libyuv::I444ToARGBMatrix(y, width, u, chromaStride, v, chromaStride, destination.baseAddress(),
                                    int(destination.bytesPerRow()), yuvConstants(format), width, height) == 0;
}

bool shrink(const PixelBuffer& whole, const PixelBuffer& destination) {
    return libyuv::ARGBScale(whole.baseAddress(), int(whole.bytesPerRow()), int(whole.width()),
                             int(whole.height()), destination.baseAddress(), int(destination.bytesPerRow()),
                             int(destination.width()), int(destination.height()), libyuv::kFilterBox) == 0;
}

} // namespace tavelo
