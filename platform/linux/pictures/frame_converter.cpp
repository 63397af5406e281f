// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/frame_converter.h"

#include <algorithm>

#include <libyuv.h>

#include "platform/common/frame_bounds.h"

namespace tavelo {
namespace {

// Pixels of a JPEG picture that are accepted whatever size was negotiated; damaged headers claim more.
constexpr std::uint64_t plausibleJpeg = std::uint64_t(1920) * 1080;

std::uint64_t pixels(FrameSize size) {
    return std::uint64_t(size.width) * size.height;
}

std::uint32_t half(std::uint32_t value) {
    return (value + 1) / 2;
}

std::uint32_t bytesPerRow(Fourcc format, std::uint32_t width) {
    if (isPacked(format)) return half(width) * 4;
    // The chroma rows of these are as long as a luma row, or half of it.
    if (format == fourcc::nv12 || format == fourcc::i420) return half(width) * 2;
    return width;
}

// Bytes of a whole frame, without the padding of the last row, which some drivers do not send.
std::size_t wholeFrame(const FrameFormat& format) {
    const std::size_t stride = format.bytesPerLine;
    const std::size_t row = bytesPerRow(format.format, format.size.width);
    const std::size_t rows = format.size.height;
    const std::size_t chromaRows = half(format.size.height);
    if (format.format == fourcc::nv12) return stride * (rows + chromaRows - 1) + row;
    if (format.format == fourcc::i420)
        return stride * rows + stride / 2 * (2 * chromaRows - 1) + half(format.size.width);
    return stride * (rows - 1) + row;
}

} // namespace

const libyuv::YuvConstants* yuvConstants(const FrameFormat& format) {
    switch (format.matrix) {
        case YuvMatrix::bt709:
            return format.fullRange ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
        case YuvMatrix::bt2020:
            return format.fullRange ? &libyuv::kYuvV2020Constants : &libyuv::kYuv2020Constants;
        case YuvMatrix::bt601:
            break;
    }
    return format.fullRange ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
}

bool FrameConverter::setFormat(const FrameFormat& format) {
    format_ = format;
    frameBytes_ = 0;
    const FrameSize size = format.size;
    if (!isShowable(size)) return false;
    if (format.format == fourcc::mjpeg) {
        frameBytes_ = 1;
        return true;
    }
    const bool known = isPacked(format.format) || format.format == fourcc::nv12 ||
                       format.format == fourcc::i420 || format.format == fourcc::grey;
    if (!known || format.bytesPerLine > mostBytesPerLine) return false;
    format_.bytesPerLine = std::max(format.bytesPerLine, bytesPerRow(format.format, size.width));
    frameBytes_ = wholeFrame(format_);
    const bool direct = yuvConstants(format_) == &libyuv::kYuvI601Constants;
    planes_.resize(isPacked(format.format) && !direct ? 2 * std::size_t(half(size.width)) * 2 * size.height
                                                      : 0);
    return true;
}

std::optional<FrameSize> FrameConverter::begin(std::span<const std::uint8_t> bytes) {
    if (frameBytes_ == 0 || bytes.size() < frameBytes_) return std::nullopt;
    if (format_.format != fourcc::mjpeg) return format_.size;
    const auto size = jpeg_.begin(bytes);
    if (!size || pixels(*size) > std::max(4 * pixels(format_.size), plausibleJpeg)) return std::nullopt;
    return size;
}

bool FrameConverter::draw(std::span<const std::uint8_t> bytes, const PixelBuffer& destination) {
    return format_.format == fourcc::mjpeg ? jpeg_.decode(destination)
                                           : convertRaw(bytes.data(), destination);
}

bool FrameConverter::convertInto(std::span<const std::uint8_t> bytes, const PixelBuffer& destination) {
    const auto size = begin(bytes);
    return size && destination.width() == size->width && destination.height() == size->height &&
           draw(bytes, destination);
}

std::shared_ptr<PixelBuffer> FrameConverter::convert(std::span<const std::uint8_t> bytes) {
    const auto size = begin(bytes);
    return size ? makeWhole(bytes, *size) : nullptr;
}

SampleBuffer FrameConverter::convert(std::span<const std::uint8_t> bytes, const PictureDemand& demand) {
    const auto size = begin(bytes);
    if (!size) return {};
    const bool shown = demand.shownWidth > 0 && demand.shownHeight > 0;
    const unsigned reduction = shown ? reductionFor(format_.format, *size, demand) : 1;
    const bool forMovie = demand.forMovie && canKeepForMovie(*size);
    SampleBuffer made;
    if (demand.whole || (!forMovie && (demand.forMovie || (shown && reduction == 1)))) {
        made.imageBuffer = makeWhole(bytes, *size);
        if (made.imageBuffer && reduction > 1)
            made.reducedBuffer = reduce(*made.imageBuffer, *size, reduction);
        return made;
    }
    pool_.clear();
    const bool unchanged =
        lastKept_ && (!forMovie || lastKept_->hasMoviePicture()) && lastKept_->isOf(format_, bytes);
    if (!unchanged) {
        lastReduced_.reset();
        lastKept_ = keep(bytes, *size, forMovie);
        if (!lastKept_) return {};
    }
    made.cameraFrame = lastKept_;
    if (!shown) return made;
    const FrameSize reduced = reducedSize(*size, reduction);
    if (!lastReduced_ || lastReduced_->width() != reduced.width || lastReduced_->height() != reduced.height)
        lastReduced_ = makeReduced(bytes, *size, reduction);
    if (!lastReduced_) return {};
    made.reducedBuffer = lastReduced_;
    return made;
}

bool FrameConverter::canKeepForMovie(FrameSize size) const {
    if (format_.format != fourcc::mjpeg) return hasMoviePicture(format_);
    return jpeg_.hasPlanes() && size.width % 2 == 0 && size.height % 2 == 0;
}

/// @return null if the frame must be dropped
std::shared_ptr<const KeptFrame> FrameConverter::keep(std::span<const std::uint8_t> bytes, FrameSize size,
                                                      bool forMovie) {
    KeptFramePool::DecodePlanes decode;
    if (forMovie && format_.format == fourcc::mjpeg)
        decode = [this](PlanarPicture& planes) { return jpeg_.decode(planes); };
    return kept_.keep(format_, size, bytes, decode);
}

std::shared_ptr<PixelBuffer> FrameConverter::makeWhole(std::span<const std::uint8_t> bytes, FrameSize size) {
    auto picture = pool_.take(PixelFormat::bgra32, size.width, size.height);
    if (!picture) return nullptr;
    const auto lock = picture->lock();
    return draw(bytes, *picture) ? picture : nullptr;
}

std::shared_ptr<PixelBuffer> FrameConverter::makeReduced(std::span<const std::uint8_t> bytes, FrameSize size,
                                                         unsigned reduction) {
    const FrameSize reduced = reducedSize(size, reduction);
    auto picture = reducedPool_.take(PixelFormat::bgra32, reduced.width, reduced.height);
    if (!picture) return nullptr;
    const auto lock = picture->lock();
    return drawReduced(bytes, *picture, reduction) ? picture : nullptr;
}

bool FrameConverter::drawReduced(std::span<const std::uint8_t> bytes, const PixelBuffer& destination,
                                 unsigned reduction) {
    if (format_.format == fourcc::mjpeg) {
        return lastKept_->hasMoviePicture() ? planarReducer_.draw(lastKept_->planes(), destination, reduction)
                                            : jpeg_.decode(destination, reduction);
    }
    return reduction == 1 ? convertRaw(bytes.data(), destination)
                          : halver_.halve(format_, bytes.data(), destination);
}

// The whole picture is wanted anyway, so it is not decoded twice.
std::shared_ptr<PixelBuffer> FrameConverter::reduce(const PixelBuffer& whole, FrameSize size,
                                                    unsigned reduction) {
    const FrameSize reduced = reducedSize(size, reduction);
    auto picture = reducedPool_.take(PixelFormat::bgra32, reduced.width, reduced.height);
    if (!picture) return nullptr;
    const auto wholeLock = whole.lock();
    const auto lock = picture->lock();
    return shrink(whole, *picture) ? picture : nullptr;
}

bool FrameConverter::convertRaw(const std::uint8_t* bytes, const PixelBuffer& destination) {
    const int width = int(format_.size.width);
    const int height = int(format_.size.height);
    const int stride = int(format_.bytesPerLine);
    std::uint8_t* bgra = destination.baseAddress();
    const int bgraStride = int(destination.bytesPerRow());
    const std::uint8_t* chroma = bytes + std::size_t(stride) * format_.size.height;
    int failed = 0;
    if (format_.format == fourcc::nv12) {
        failed = libyuv::NV12ToARGBMatrix(bytes, stride, chroma, stride, bgra, bgraStride,
                                          yuvConstants(format_), width, height);
    } else if (format_.format == fourcc::i420) {
        const std::uint8_t* last = chroma + std::size_t(stride / 2) * half(format_.size.height);
        failed = libyuv::I420ToARGBMatrix(bytes, stride, chroma, stride / 2, last, stride / 2, bgra,
                                          bgraStride, yuvConstants(format_), width, height);
    } else if (format_.format == fourcc::grey) {
        failed = format_.fullRange ? libyuv::J400ToARGB(bytes, stride, bgra, bgraStride, width, height)
                                   : libyuv::I400ToARGB(bytes, stride, bgra, bgraStride, width, height);
    } else {
        failed = convertPacked(bytes, destination);
    }
    return failed == 0;
}

int FrameConverter::convertPacked(const std::uint8_t* bytes, const PixelBuffer& destination) {
    const int width = int(format_.size.width);
    const int height = int(format_.size.height);
    const int stride = int(format_.bytesPerLine);
    std::uint8_t* bgra = destination.baseAddress();
    const int bgraStride = int(destination.bytesPerRow());
    const bool yuyv = format_.format == fourcc::yuyv;
    if (planes_.empty()) {
        const auto direct = yuyv ? libyuv::YUY2ToARGB : libyuv::UYVYToARGB;
        return direct(bytes, stride, bgra, bgraStride, width, height);
    }
    const int chromaStride = int(half(format_.size.width));
    const int lumaStride = chromaStride * 2;
    std::uint8_t* luma = planes_.data();
    std::uint8_t* u = luma + std::size_t(lumaStride) * format_.size.height;
    std::uint8_t* v = u + std::size_t(chromaStride) * format_.size.height;
    const auto split = yuyv ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
    const int failed =
        split(bytes, stride, luma, lumaStride, u, chromaStride, v, chromaStride, width, height);
    if (failed != 0) return failed;
    return libyuv::I422ToARGBMatrix(luma, lumaStride, u, chromaStride, v, chromaStride, bgra, bgraStride,
                                    yuvConstants(format_), width, height);
}

} // namespace tavelo
