// SPDX-License-Identifier: MIT
// A picture in memory, shared between the camera, the renderer and the recorder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace tavelo {

/// Four-character codes.
enum class PixelFormat : std::uint32_t {
    bgra32 = 0x42475241, ///< 'BGRA': bytes blue, green, red, alpha
    nv12 = 0x34323076,   ///< '420v': a luma plane and a plane of interleaved chroma pairs
};

/// One picture.  The pixels belong to the buffer or to whoever made it (mapped GPU memory).
///
/// Size, format and addresses never change.  Hold lock() to read or write the pixels.
class PixelBuffer {
public:
    struct Plane {
        std::uint8_t* baseAddress = nullptr;
        std::size_t width = 0;       ///< in pixels of this plane
        std::size_t height = 0;      ///< in rows
        std::size_t bytesPerRow = 0; ///< rows may be padded
    };

    /// Allocates zeroed memory, rows aligned to 64 bytes.  Null if a side is 0.
    static std::shared_ptr<PixelBuffer> create(PixelFormat format, std::size_t width, std::size_t height);

    /// Wraps existing memory and keeps `owner` alive as long as the buffer.
    /// @param planes one for a single-plane picture, several for a planar one
    PixelBuffer(PixelFormat format, std::size_t width, std::size_t height, std::vector<Plane> planes,
                std::shared_ptr<void> owner);

    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;

    PixelFormat format() const { return format_; }
    std::size_t width() const { return width_; }
    std::size_t height() const { return height_; }

    /// 0 if the picture is not planar.
    std::size_t planeCount() const { return planes_.size() > 1 ? planes_.size() : 0; }
    /// All planes; one if the picture is not planar.
    std::span<const Plane> planes() const { return planes_; }

    std::uint8_t* baseAddress() const { return planes_.front().baseAddress; }
    std::size_t bytesPerRow() const { return planes_.front().bytesPerRow; }

    /// Hold it while reading or writing pixels.  Lock the source before the destination.
    [[nodiscard]] std::unique_lock<std::mutex> lock() const { return std::unique_lock(mutex_); }

private:
    PixelFormat format_;
    std::size_t width_;
    std::size_t height_;
    std::vector<Plane> planes_;
    std::shared_ptr<void> owner_;
    mutable std::mutex mutex_; // guards the pixels, not the fields
};

} // namespace tavelo
