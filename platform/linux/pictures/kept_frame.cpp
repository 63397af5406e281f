// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/kept_frame.h"

#include <algorithm>
#include <new>

#include "platform/linux/pictures/frame_converter.h"

namespace tavelo {

bool KeptFrame::draw(const PixelBuffer& destination) const try {
    const std::lock_guard lock(mutex_);
    FrameConverter converter;
    return converter.setFormat(format_) && converter.convertInto(bytes_, destination);
} catch (const std::bad_alloc&) {
    return false;
}

void KeptFrame::drawForMovie(const MoviePlanes& destination, Mirroring mirroring) const {
    const std::lock_guard lock(mutex_);
    if (format_.format == fourcc::mjpeg)
        movieDrawer_.draw(planes_, destination, mirroring);
    else
        movieDrawer_.draw(format_, bytes_.data(), destination, mirroring);
}

bool KeptFrame::isOf(const FrameFormat& format, std::span<const std::uint8_t> bytes) const {
    const std::lock_guard lock(mutex_);
    return format == format_ && std::ranges::equal(bytes, bytes_);
}

std::shared_ptr<const KeptFrame> KeptFramePool::keep(const FrameFormat& format, FrameSize size,
                                                     std::span<const std::uint8_t> bytes,
                                                     const DecodePlanes& decode) {
    // A count of one means that only we hold it, and only we could share it again.
    auto unused = std::ranges::find_if(frames_, [](const auto& frame) { return frame.use_count() == 1; });
    if (unused == frames_.end()) {
        if (frames_.size() == capacity) return nullptr;
        unused = frames_.insert(frames_.end(), std::make_shared<KeptFrame>());
    }
    KeptFrame& frame = **unused;
    const std::lock_guard lock(frame.mutex_);
    frame.format_ = format;
    frame.width_ = size.width;
    frame.height_ = size.height;
    frame.hasMoviePicture_ = decode || tavelo::hasMoviePicture(format);
    if (!decode)
        frame.planes_ = {};
    else if (!decode(frame.planes_))
        return nullptr;
    frame.bytes_.assign(bytes.begin(), bytes.end());
    return *unused;
}

} // namespace tavelo
