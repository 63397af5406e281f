// SPDX-License-Identifier: MIT
// The memory of a buffer that another program fills.
#pragma once

#include <spa/buffer/buffer.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tavelo {

/// A device's buffer, mapped; the library maps the other kinds itself.
class DmaMemory {
public:
    DmaMemory() = default;
    /// Empty if it cannot be mapped.
    explicit DmaMemory(const spa_data& data);
    ~DmaMemory();
    DmaMemory(DmaMemory&& other) noexcept;
    DmaMemory& operator=(DmaMemory&& other) noexcept;

    const std::uint8_t* bytes() const { return bytes_; }

private:
    void* mapped_ = nullptr;
    std::size_t length_ = 0;
    const std::uint8_t* bytes_ = nullptr;
};

/// Tells the device before and after the processor reads its memory.
void beginReading(const spa_data& data);
void endReading(const spa_data& data);

/// What a buffer says of the frame in it.  Its fields are in memory that another program may change at any
/// time, so each is read once and bounded.
struct BufferFrame {
    std::span<const std::uint8_t> bytes;
    std::uint32_t stride = 0;
    std::optional<std::chrono::nanoseconds> time;
    bool damaged = false;
};

/// @param dma the buffer's memory if it is a device's; null otherwise
BufferFrame frameIn(const spa_buffer& buffer, const DmaMemory* dma);

} // namespace tavelo
