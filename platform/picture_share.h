// SPDX-License-Identifier: MIT
// A camera for other programs, whose picture is the one that the panel shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/capture.h"
#include "platform/error.h"
#include "platform/media_time.h"

namespace tavelo {

/// What a share takes of a frame.
enum class SharedPicture : std::uint8_t {
    none,        ///< no program looks
    cameraFrame, ///< the movie's picture of a camera frame, or the whole picture if the frame has none
    whole
};

/// A camera that other programs can choose beside the real ones.
///
/// Appears with the first pictures, whose size and rate it has, and disappears when it is destroyed.  It
/// stays while no pictures come: programs then keep the last one.  Thread-safe unless a comment names a
/// thread.
class PictureShare {
public:
    virtual ~PictureShare() = default;

    /// Of the camera whose pictures follow.
    virtual void setCameraName(const std::string& name) = 0;

    /// A picture has come, wanted or not.  The capture queue; takes no time unless the size changes.
    virtual void noteFrame(std::size_t width, std::size_t height, const MediaTime& time) = 0;

    virtual SharedPicture wanted() const = 0;

    /// Whether a program has room for another picture.  The render queue.
    virtual bool hasRoom() = 0;

    /// Copies the picture to the programs that look.  Never waits for them: without room it is lost.  The
    /// render queue.
    /// @param sample a whole picture, or a camera frame with its mirroring
    virtual void share(const SampleBuffer& sample) = 0;

    /// Why no program can see the camera; no code if there is no reason, or if only the picture is missing.
    virtual Error trouble() const = 0;
};

/// The desktop's way to share cameras.  Thread-safe.
class PictureSharePlatform {
public:
    virtual ~PictureSharePlatform() = default;

    /// Null with `error` set if this machine has no such way.
    virtual std::shared_ptr<PictureShare> makeShare(const std::string& cameraName, Error& error) = 0;
};

} // namespace tavelo
