// SPDX-License-Identifier: MIT
// A pool of reusable pictures.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/pixel_buffer.h"

namespace tavelo {

/// Hands out pixel buffers of one size; allocates only while it grows or when the size changes.  Used by the
/// thread that produces the pictures; the pictures themselves may be released on any thread.
class PixelBufferPool {
public:
    /// @param capacity how many pictures may be in use at once
    explicit PixelBufferPool(std::size_t capacity = 6);

    /// A picture that nobody else holds, with its previous content; write it under its lock().  Null if all
    /// are in use (the caller drops its frame) or a side is 0.
    std::shared_ptr<PixelBuffer> take(PixelFormat format, std::size_t width, std::size_t height);

    /// Keeps no picture for later.
    void clear() { buffers_.clear(); }

private:
    std::size_t capacity_;
    std::vector<std::shared_ptr<PixelBuffer>> buffers_; // all of one format and size
};

} // namespace tavelo
