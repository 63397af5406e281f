// SPDX-License-Identifier: MIT
// The bytes of camera frames, kept for whole pictures that may be wanted later.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "platform/camera_frame.h"
#include "platform/linux/pictures/frame_format.h"

namespace tavelo {

/// A copy of a frame's bytes.
class KeptFrame final : public CameraFrame {
public:
    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer& destination) const override;

    /// Whether a camera sends the same frame again.  A difference shows at the first bytes of nearly every
    /// frame.
    bool isOf(const FrameFormat& format, std::span<const std::uint8_t> bytes) const;

private:
    friend class KeptFramePool;

    mutable std::mutex mutex_; // guards the bytes, which the pool fills again once nobody else has the frame
    FrameFormat format_;
    std::atomic<std::uint32_t> width_ = 0; // need not wait for a picture that is drawn
    std::atomic<std::uint32_t> height_ = 0;
    std::vector<std::uint8_t> bytes_;
};

/// Hands out kept frames; allocates only while it grows or frames get larger.  Used by the stream's thread;
/// the frames may be released on any thread.
class KeptFramePool {
public:
    /// @param size of the picture, which a JPEG frame says itself
    /// @return null if as many frames are in use as there may be
    std::shared_ptr<const KeptFrame> keep(const FrameFormat& format, FrameSize size,
                                          std::span<const std::uint8_t> bytes);

private:
    static constexpr std::size_t capacity = 6;

    std::vector<std::shared_ptr<KeptFrame>> frames_;
};

} // namespace tavelo
