// SPDX-License-Identifier: MIT
#include "platform/linux/movie/frame_pool.h"

#include <utility>

namespace tavelo {

bool FramePool::allocate(std::size_t count, int width, int height) {
    for (std::size_t i = 0; i < count; ++i) {
        AvFrame frame(av_frame_alloc());
        if (!frame) return false;
        frame->format = AV_PIX_FMT_NV12;
        frame->width = width;
        frame->height = height;
        if (av_frame_get_buffer(frame.get(), 0) < 0) return false;
        frames_.push_back(std::move(frame));
    }
    const std::lock_guard lock(mutex_);
    for (const AvFrame& frame : frames_)
        free_.push_back(frame.get());
    return true;
}

bool FramePool::hasFree() const {
    const std::lock_guard lock(mutex_);
    return !free_.empty();
}

AVFrame* FramePool::take() {
    AVFrame* frame = nullptr;
    {
        const std::lock_guard lock(mutex_);
        if (free_.empty()) return nullptr;
        frame = free_.back();
        free_.pop_back();
    }
    // An encoder that keeps its input still holds the pixels; the frame gets new ones then.
    if (av_frame_make_writable(frame) == 0) return frame;
    giveBack(frame);
    return nullptr;
}

void FramePool::giveBack(AVFrame* frame) {
    const std::lock_guard lock(mutex_);
    free_.push_back(frame);
}

} // namespace tavelo
