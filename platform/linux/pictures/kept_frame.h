// SPDX-License-Identifier: MIT
// The bytes of camera frames, kept for whole pictures that may be wanted later.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "platform/camera_frame.h"
#include "platform/linux/pictures/frame_format.h"
#include "platform/linux/pictures/movie_picture.h"
#include "platform/linux/pictures/planar_picture.h"

namespace tavelo {

/// A copy of a frame's bytes, and the planes of a JPEG picture that is recorded: it is decoded once, for the
/// screen and the movie.
class KeptFrame final : public CameraFrame {
public:
    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer& destination) const override;
    bool hasMoviePicture() const override { return hasMoviePicture_; }
    void drawForMovie(const MoviePlanes& destination, Mirroring mirroring) const override;

    /// Empty unless the frame is JPEG and has a movie picture.  On the stream's thread.
    const PlanarPicture& planes() const { return planes_; }

    /// Whether a camera sends the same frame again.  A difference shows at the first bytes of nearly every
    /// frame.
    bool isOf(const FrameFormat& format, std::span<const std::uint8_t> bytes) const;

private:
    friend class KeptFramePool;

    // Guards bytes and planes, which the pool fills again once nobody else has the frame, and the drawer.
    mutable std::mutex mutex_;
    FrameFormat format_;
    std::atomic<std::uint32_t> width_ = 0; // need not wait for a picture that is drawn
    std::atomic<std::uint32_t> height_ = 0;
    std::atomic<bool> hasMoviePicture_ = false;
    std::vector<std::uint8_t> bytes_;
    PlanarPicture planes_; // of JPEG, if it has a movie picture
    mutable MoviePictureDrawer movieDrawer_;
};

/// Hands out kept frames; allocates only while it grows or frames get larger.  Used by the stream's thread;
/// the frames may be released on any thread.
class KeptFramePool {
public:
    using DecodePlanes = std::function<bool(PlanarPicture& planes)>;

    /// @param size   of the picture, which a JPEG frame says itself
    /// @param decode of a JPEG frame that is recorded; empty otherwise
    /// @return null if as many frames are in use as there may be, or if the frame cannot be decoded
    std::shared_ptr<const KeptFrame> keep(const FrameFormat& format, FrameSize size,
                                          std::span<const std::uint8_t> bytes, const DecodePlanes& decode);

private:
    static constexpr std::size_t capacity = 6;

    std::vector<std::shared_ptr<KeptFrame>> frames_;
};

} // namespace tavelo
