// SPDX-License-Identifier: MIT
// The pictures on their way to the encoder, a fixed number of them.
#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "platform/linux/movie/ffmpeg_handles.h"

namespace tavelo {

/// Pictures in NV12, lent and taken back.  Its bound is the bound of the writer's queue.  Thread-safe.
class FramePool {
public:
    /// @return false where memory does not suffice
    bool allocate(std::size_t count, int width, int height);

    bool hasFree() const;
    /// Null where all are lent.  It may be written to.
    AVFrame* take();
    void giveBack(AVFrame* frame);

private:
    std::vector<AvFrame> frames_;
    mutable std::mutex mutex_; // guards free_
    std::vector<AVFrame*> free_;
};

} // namespace tavelo
