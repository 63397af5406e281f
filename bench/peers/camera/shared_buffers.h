// SPDX-License-Identifier: MIT
// The memory that the camera fills and the program sees.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/common/file_descriptor.h"

namespace tavelo::bench {

/// Buffers of one size, each a file of its own, as a driver's are that it exports.
class SharedBuffers {
public:
    /// None.
    SharedBuffers() = default;
    /// Empty if there is no memory.
    SharedBuffers(std::uint32_t count, std::uint32_t bytes);

    std::uint32_t count() const { return std::uint32_t(buffers_.size()); }
    /// Whole pages.
    std::uint32_t bytesEach() const { return bytesEach_; }
    int file(std::uint32_t index) const { return buffers_[index].file.get(); }
    std::span<std::uint8_t> buffer(std::uint32_t index) const;

private:
    struct Unmap {
        std::size_t length;
        void operator()(std::uint8_t* memory) const;
    };
    struct Buffer {
        FileDescriptor file;
        std::unique_ptr<std::uint8_t, Unmap> memory;
    };

    static Buffer make(std::uint32_t bytes);

    std::uint32_t bytesEach_ = 0;
    std::vector<Buffer> buffers_;
};

} // namespace tavelo::bench
