// SPDX-License-Identifier: MIT
// A fixed number of frames for the way to the encoder.
#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "platform/linux/movie/ffmpeg_handles.h"

namespace tavelo {

/// NV12 frames that are taken and given back.  Their number also limits the writer's queue.  Thread-safe.
class FramePool {
public:
    /// @return false if memory is short
    bool allocate(std::size_t count, int width, int height);

    bool hasFree() const;
    /// Null if all are taken.  The frame is writable.
    AVFrame* take();
    void giveBack(AVFrame* frame);

private:
    std::vector<AvFrame> frames_;
    mutable std::mutex mutex_; // guards free_
    std::vector<AVFrame*> free_;
};

} // namespace tavelo
