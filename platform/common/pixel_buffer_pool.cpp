// SPDX-License-Identifier: MIT
#include "platform/common/pixel_buffer_pool.h"

#include <algorithm>

namespace tavelo {

PixelBufferPool::PixelBufferPool(std::size_t capacity) : capacity_(capacity) {
    buffers_.reserve(capacity);
}

std::shared_ptr<PixelBuffer> PixelBufferPool::take(PixelFormat format, std::size_t width,
                                                   std::size_t height) {
    if (!buffers_.empty()) {
        const PixelBuffer& first = *buffers_.front();
        // Pictures of the old size live on until their users release them.
        if (first.format() != format || first.width() != width || first.height() != height) buffers_.clear();
    }
    // A count of one means that only we hold it, and only we could share it again.  The last user accessed
    // the pixels under their lock, which orders that access before our writes.
    const auto unused =
        std::ranges::find_if(buffers_, [](const auto& buffer) { return buffer.use_count() == 1; });
    if (unused != buffers_.end()) return *unused;
    if (buffers_.size() == capacity_) return nullptr;
    auto fresh = PixelBuffer::create(format, width, height);
    if (fresh) buffers_.push_back(fresh);
    return fresh;
}

} // namespace tavelo
