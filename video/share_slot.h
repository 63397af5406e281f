// SPDX-License-Identifier: MIT
// Holds the share that gets the preview's pictures, if there is one.
#pragma once

#include <memory>
#include <mutex>

#include "platform/capture.h"
#include "platform/picture_share.h"

namespace tavelo {

/// Thread-safe.
class ShareSlot {
public:
    /// Null empties it.
    void set(std::shared_ptr<PictureShare> share);

    /// Tells the share that a frame has come.  The capture queue.
    void noteFrame(const SampleBuffer& sample) const;

    /// Nothing if the slot is empty.
    SharedPicture wanted() const;
    /// The share if it takes a picture now, else null.  The render queue.
    std::shared_ptr<PictureShare> ready() const;

private:
    std::shared_ptr<PictureShare> share() const;

    mutable std::mutex mutex_; // guards the share, not its calls
    std::shared_ptr<PictureShare> share_;
};

} // namespace tavelo
