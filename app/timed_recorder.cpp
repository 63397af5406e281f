// SPDX-License-Identifier: MIT
#include "app/timed_recorder.h"

#include <utility>

namespace tavelo {

TimedRecorder::TimedRecorder(std::shared_ptr<AssetWriterPlatform> platform,
                             std::optional<std::chrono::duration<double>> duration)
    : KTAssetWriterManager(std::move(platform), madeOfCameraFrames()),
      duration_(duration) {}

void TimedRecorder::recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                                          const MediaTime& presentationTime) {
    if (isOver(presentationTime))
        stopRecord();
    else
        KTAssetWriterManager::recordPixelBufferWithPresentationTime(pixelBuffer, presentationTime);
}

void TimedRecorder::recordCameraFrameWithPresentationTime(const std::shared_ptr<const CameraFrame>& frame,
                                                          Mirroring mirroring,
                                                          const MediaTime& presentationTime) {
    if (isOver(presentationTime))
        stopRecord();
    else
        KTAssetWriterManager::recordCameraFrameWithPresentationTime(frame, mirroring, presentationTime);
}

bool TimedRecorder::isOver(const MediaTime& time) {
    const double now = static_cast<double>(time.value) / time.timescale;
    if (!begin_) begin_ = last_ = now;
    // Timestamps jitter, so the frame nearest to the end counts as the first one after it.
    const double halfAFrame = (now - std::exchange(last_, now)) / 2;
    return duration_ && now - *begin_ + halfAFrame >= duration_->count();
}

} // namespace tavelo
