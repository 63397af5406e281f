// SPDX-License-Identifier: MIT
#include "platform/common/frame_delivery.h"

#include <utility>

namespace tavelo {

void FrameDelivery::open(const CaptureConnection& connection, CaptureVideoDataOutput* output) {
    const std::lock_guard lock(mutex_);
    target_.reset();
    if (output == nullptr) return;
    SampleBufferDelegate* delegate = output->sampleBufferDelegate();
    SerialQueue* queue = output->sampleBufferCallbackQueue();
    if (delegate != nullptr && queue != nullptr) target_ = Target{connection, output, delegate, queue};
}

void FrameDelivery::close() {
    const std::lock_guard lock(mutex_);
    target_.reset();
    waiting_.reset();
    dropCount_ = 0;
}

void FrameDelivery::consume(const SampleBuffer& sample) {
    const std::lock_guard lock(mutex_);
    if (!target_) return;
    if (handling_ || waiting_) {
        if (dropCount_ < drops_.size()) drops_[dropCount_++] = sample.presentationTimeStamp;
        return;
    }
    waiting_ = sample;
    // A task left over from before a stop delivers the new run's sample too.
    if (std::exchange(scheduled_, true)) return;
    target_->queue->async([self = shared_from_this()] { self->run(); });
}

PictureDemand FrameDelivery::demand() const {
    const std::lock_guard lock(mutex_);
    return target_ ? target_->output->demand() : PictureDemand();
}

void FrameDelivery::run() {
    std::unique_lock lock(mutex_);
    scheduled_ = false;
    if (!target_ || !waiting_) return;
    handling_ = true;
    {
        const Target target = *target_;
        const SampleBuffer sample = *std::exchange(waiting_, std::nullopt);
        lock.unlock();
        target.delegate->captureOutputDidOutputSampleBufferFromConnection(*target.output, sample,
                                                                          target.connection);
    } // the picture goes back to the camera here
    lock.lock();
    tellDrops(lock);
    handling_ = false;
}

void FrameDelivery::tellDrops(std::unique_lock<std::mutex>& lock) {
    // Drops that are added meanwhile are reported too, so a slow delegate gets one full array at most.
    for (std::size_t told = 0; told < dropCount_ && target_; ++told) {
        const Target target = *target_;
        const SampleBuffer sample{nullptr, drops_[told]};
        lock.unlock();
        target.delegate->captureOutputDidDropSampleBufferFromConnection(*target.output, sample,
                                                                        target.connection);
        lock.lock();
    }
    dropCount_ = 0;
}

} // namespace tavelo
