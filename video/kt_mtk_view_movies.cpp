// SPDX-License-Identifier: MIT
// Stills and movies of KTMTKView, and its pictures for other programs.
#include <utility>

#include "video/kt_mtk_view.h"

namespace tavelo {

void KTMTKView::screenShotWithFilePathCompletionHandler(const std::string& filePath,
                                                        SnapshotHandler handler) {
    renderQueue_->async([this, filePath, handler = std::move(handler)] {
        const auto frame = wholePicture();
        if (!frame && !hasFrame()) return;
        const std::optional<Error> error =
            frame ? writeSnapshot(*frame, filePath) : Error{ErrorCode::none, snapshotSteps().front().failure};
        if (handler) handler(!error, error.value_or(Error()));
    });
}

void KTMTKView::startRecordWithFilePathAudioOutputSettingsCompletionHandler(
    const std::string& filePath, const std::optional<AudioSettings>& audioOutputSettings,
    KTAssetWriterManager::CompletionHandler completionHandler) {
    renderQueue_->async(
        [this, filePath, audioOutputSettings, completionHandler = std::move(completionHandler)] {
            auto frame = wholePicture();
            // Of a frame that cannot be made only the size matters here: the movie begins with the next one.
            if (!frame && hasFrame()) frame = pictures().correctPixelBuffer;
            const ViewportSize size = frameSize();
            if (!frame || frame->width() != size.width || frame->height() != size.height) {
                completionHandler(false, {ErrorCode::none, "Not rending"});
                return;
            }
            assetWriteManager_->startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
                frame, filePath, audioOutputSettings, completionHandler);
            noteRecording();
        });
}

// The camera's frame if the recorder takes that, or the whole picture; empty if there is none.
SampleBuffer KTMTKView::toRecord() {
    SampleBuffer sample{nullptr, presentationTime()};
    const auto kept = keptFrame();
    if (!kept || !kept->hasMoviePicture() ||
        !assetWriteManager_->takesCameraFrames(kept->width(), kept->height())) {
        sample.imageBuffer = wholePicture();
        return sample;
    }
    sample.cameraFrame = kept;
    const std::lock_guard lock(stateMutex_);
    sample.mirroring = {correction_.shouldFlipHorizontal != 0, correction_.shouldFlipVertical != 0};
    return sample;
}

void KTMTKView::record(const SampleBuffer& sample) {
    const MediaTime& time = sample.presentationTimeStamp;
    if (sample.cameraFrame)
        assetWriteManager_->recordCameraFrameWithPresentationTime(sample.cameraFrame, sample.mirroring, time);
    else if (sample.imageBuffer)
        assetWriteManager_->recordPixelBufferWithPresentationTime(sample.imageBuffer, time);
}

// Like toRecord(), for a share that has room.
SampleBuffer KTMTKView::toShare(PictureShare& share) {
    SampleBuffer sample{nullptr, presentationTime()};
    const auto kept = keptFrame();
    if (!kept || !kept->hasMoviePicture() || share.wanted() != SharedPicture::cameraFrame) {
        sample.imageBuffer = wholePicture();
        return sample;
    }
    sample.cameraFrame = kept;
    const std::lock_guard lock(stateMutex_);
    sample.mirroring = {correction_.shouldFlipHorizontal != 0, correction_.shouldFlipVertical != 0};
    return sample;
}

void KTMTKView::noteRecording() {
    const ViewportSize frame = frameSize();
    keepsEveryFrame_ = assetWriteManager_->isRecording();
    recordsCameraFrames_ =
        keepsEveryFrame_ && assetWriteManager_->takesCameraFrames(frame.width, frame.height);
}

void KTMTKView::stopRecord() {
    renderQueue_->async([this] {
        assetWriteManager_->stopRecord();
        noteRecording();
    });
}

} // namespace tavelo
