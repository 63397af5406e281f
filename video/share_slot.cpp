// SPDX-License-Identifier: MIT
#include "video/share_slot.h"

#include <utility>

namespace tavelo {

void ShareSlot::set(std::shared_ptr<PictureShare> share) {
    {
        const std::lock_guard lock(mutex_);
        std::swap(share_, share);
    }
    // The old one ends here, without the lock: that may wait for its thread.
}

void ShareSlot::noteFrame(const SampleBuffer& sample) const {
    const auto share = this->share();
    if (!share) return;
    const MediaTime& time = sample.presentationTimeStamp;
    if (sample.imageBuffer)
        share->noteFrame(sample.imageBuffer->width(), sample.imageBuffer->height(), time);
    else if (sample.cameraFrame)
        share->noteFrame(sample.cameraFrame->width(), sample.cameraFrame->height(), time);
}

SharedPicture ShareSlot::wanted() const {
    const auto share = this->share();
    return share ? share->wanted() : SharedPicture::none;
}

std::shared_ptr<PictureShare> ShareSlot::ready() const {
    auto share = this->share();
    return share && share->wanted() != SharedPicture::none && share->hasRoom() ? share : nullptr;
}

std::shared_ptr<PictureShare> ShareSlot::share() const {
    const std::lock_guard lock(mutex_);
    return share_;
}

} // namespace tavelo
