// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/shared_picture.h"

#include <libyuv.h>

#include <algorithm>

namespace tavelo {
namespace {

constexpr std::size_t bytesPerPixel = 4;

std::size_t roundedUp(std::size_t bytes) {
    return (bytes + 3) / 4 * 4;
}

/// Where each plane of a layout begins, and its row lengths, as libyuv takes them.
struct Planes {
    Planes(const SharedLayout& layout, std::uint8_t* memory)
        : width(int(layout.size.width)),
          height(int(layout.size.height)),
          stride(int(layout.bytesPerRow())),
          first(memory),
          chroma(memory + layout.bytesPerRow() * layout.size.height),
          chromaStride(layout.format == SharedFormat::i420 ? int(roundedUp(layout.size.width / 2)) : stride),
          lastChroma(chroma + std::ptrdiff_t(chromaStride) * (height / 2)) {}

    int width;
    int height;
    int stride;
    std::uint8_t* first;
    std::uint8_t* chroma;
    int chromaStride;
    std::uint8_t* lastChroma; // of i420
};

// Packed pixels are luma and chroma bytes in turn; a row of chroma serves two rows.
void packNv12(const std::uint8_t* luma, const std::uint8_t* chroma, const Planes& to) {
    for (int row = 0; row < 2; ++row)
        libyuv::MergeUVPlane(luma + std::ptrdiff_t(row) * to.width, 2 * to.width, chroma, to.width,
                             to.first + std::ptrdiff_t(row) * to.stride, 2 * to.stride, to.width,
                             to.height / 2);
}

FrameSize sizeWithin(FrameSize size, FrameSize room) {
    const auto scaled = [](std::uint32_t side, std::uint32_t numerator, std::uint32_t denominator) {
        return std::max(std::uint32_t(std::uint64_t(side) * numerator / denominator), 1U);
    };
    const bool isWider = std::uint64_t(size.width) * room.height > std::uint64_t(room.width) * size.height;
    if (isWider) return {room.width, scaled(size.height, room.width, size.width)};
    return {scaled(size.width, room.height, size.height), room.height};
}

} // namespace

std::size_t SharedLayout::bytesPerRow() const {
    switch (format) {
        case SharedFormat::nv12:
        case SharedFormat::i420:
            return roundedUp(size.width);
        case SharedFormat::yuy2:
            return roundedUp(std::size_t(size.width) * 2);
        case SharedFormat::bgrx:
            break;
    }
    return std::size_t(size.width) * bytesPerPixel;
}

std::size_t SharedLayout::bytes() const {
    const std::size_t first = bytesPerRow() * size.height;
    if (format == SharedFormat::nv12) return first + bytesPerRow() * (size.height / 2);
    if (format == SharedFormat::i420) return first + roundedUp(size.width / 2) * size.height;
    return first;
}

bool SharedPictureDrawer::draw(const SampleBuffer& sample, const SharedLayout& layout, std::uint8_t* memory) {
    if (sample.imageBuffer) {
        const auto lock = sample.imageBuffer->lock();
        drawPicture(*sample.imageBuffer, layout, memory);
        return true;
    }
    const CameraFrame* const frame = sample.cameraFrame.get();
    if (frame == nullptr || !frame->hasMoviePicture() || frame->width() != layout.size.width ||
        frame->height() != layout.size.height || layout.format == SharedFormat::bgrx)
        return false;
    drawFrame(*frame, sample.mirroring, layout, memory);
    return true;
}

void SharedPictureDrawer::drawFrame(const CameraFrame& frame, Mirroring mirroring, const SharedLayout& layout,
                                    std::uint8_t* memory) {
    const Planes to(layout, memory);
    const auto width = std::size_t(to.width);
    const auto height = std::size_t(to.height);
    const auto planes = [&](std::uint8_t* luma, std::uint8_t* chroma, std::size_t stride) {
        return MoviePlanes{{luma, width, height, stride}, {chroma, width / 2, height / 2, stride}};
    };
    if (layout.format == SharedFormat::nv12)
        return frame.drawForMovie(planes(to.first, to.chroma, layout.bytesPerRow()), mirroring);
    nv12_.resize(width * height * 3 / 2);
    std::uint8_t* const chroma = nv12_.data() + width * height;
    frame.drawForMovie(planes(nv12_.data(), chroma, width), mirroring);
    if (layout.format == SharedFormat::yuy2) return packNv12(nv12_.data(), chroma, to);
    libyuv::NV12ToI420(nv12_.data(), to.width, chroma, to.width, to.first, to.stride, to.chroma,
                       to.chromaStride, to.lastChroma, to.chromaStride, to.width, to.height);
}

void SharedPictureDrawer::drawPicture(const PixelBuffer& picture, const SharedLayout& layout,
                                      std::uint8_t* memory) {
    const Planes to(layout, memory);
    const PixelBuffer& from = fitted(picture, layout.size);
    const std::uint8_t* const bgra = from.baseAddress();
    const int stride = int(from.bytesPerRow());
    switch (layout.format) {
        case SharedFormat::nv12:
            libyuv::ARGBToNV12(bgra, stride, to.first, to.stride, to.chroma, to.chromaStride, to.width,
                               to.height);
            break;
        case SharedFormat::i420:
            libyuv::ARGBToI420(bgra, stride, to.first, to.stride, to.chroma, to.chromaStride, to.lastChroma,
                               to.chromaStride, to.width, to.height);
            break;
        case SharedFormat::yuy2:
            libyuv::ARGBToYUY2(bgra, stride, to.first, to.stride, to.width, to.height);
            break;
        case SharedFormat::bgrx:
            libyuv::ARGBCopy(bgra, stride, to.first, to.stride, to.width, to.height);
            break;
    }
}

const PixelBuffer& SharedPictureDrawer::fitted(const PixelBuffer& picture, FrameSize size) {
    if (picture.width() == size.width && picture.height() == size.height) {
        fitted_.reset();
        return picture;
    }
    const FrameSize given{std::uint32_t(picture.width()), std::uint32_t(picture.height())};
    if (!fitted_ || fitted_->width() != size.width || fitted_->height() != size.height || fittedOf_ != given)
        fitted_ = PixelBuffer::create(PixelFormat::bgra32, size.width, size.height); // black
    fittedOf_ = given;
    const FrameSize shown = sizeWithin(given, size);
    const std::size_t left = (size.width - shown.width) / 2;
    const std::size_t top = (size.height - shown.height) / 2;
    libyuv::ARGBScale(picture.baseAddress(), int(picture.bytesPerRow()), int(given.width), int(given.height),
                      fitted_->baseAddress() + top * fitted_->bytesPerRow() + left * bytesPerPixel,
                      int(fitted_->bytesPerRow()), int(shown.width), int(shown.height),
                      libyuv::kFilterBilinear);
    return *fitted_;
}

} // namespace tavelo
