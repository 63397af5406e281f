// SPDX-License-Identifier: MIT
// The memory that the camera fills and the program sees.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "platform/common/file_descriptor.h"

namespace tavelo::bench {

/// Buffers of one size, one after the other, each on pages of its own.
class SharedBuffers {
public:
    /// None.
    SharedBuffers() = default;
    /// Empty if there is no memory.
    SharedBuffers(std::uint32_t count, std::uint32_t bytes);

    std::uint32_t count() const { return count_; }
    std::uint32_t bytesEach() const { return bytesEach_; }
    int file() const { return file_.get(); }
    std::span<std::uint8_t> buffer(std::uint32_t index) const;

private:
    struct Unmap {
        std::size_t length;
        void operator()(std::uint8_t* memory) const;
    };

    std::uint32_t count_ = 0;
    std::uint32_t bytesEach_ = 0;
    FileDescriptor file_;
    std::unique_ptr<std::uint8_t, Unmap> memory_;
};

} // namespace tavelo::bench
