// SPDX-License-Identifier: MIT
// Pictures that are used again once nobody holds them.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/pixel_buffer.h"

namespace tavelo {

/// Hands out pixel buffers of one size and allocates only while it grows, or when the size changes.
/// Thread-bound to the thread that produces the pictures; the pictures themselves may be dropped on any
/// thread.
class PixelBufferPool {
public:
    /// @param capacity how many pictures may be out at once
    explicit PixelBufferPool(std::size_t capacity = 6);

    /// A picture that nobody else holds, with whatever it last showed; write it under its lock().  Null where
    /// all of them are still held (the caller drops its frame), or where a side is 0.
    std::shared_ptr<PixelBuffer> take(PixelFormat format, std::size_t width, std::size_t height);

private:
    std::size_t capacity_;
    std::vector<std::shared_ptr<PixelBuffer>> buffers_; // all of one format and size
};

} // namespace tavelo
