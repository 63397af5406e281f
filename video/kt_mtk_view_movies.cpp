// SPDX-License-Identifier: MIT
// Stills and movies of KTMTKView.
#include <utility>

#include "video/kt_mtk_view.h"

namespace tavelo {

void KTMTKView::screenShotWithFilePathCompletionHandler(const std::string& filePath,
                                                        SnapshotHandler handler) {
    renderQueue_->async([this, filePath, handler = std::move(handler)] {
        const auto frame = wholePicture();
        const bool cannotBeMade = keptFrame() != nullptr;
        if (!frame && !cannotBeMade) return;
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
            // Of a damaged frame only the size matters here: the movie begins with the next one.
            if (const auto kept = keptFrame(); !frame && kept)
                frame = ofSize(pictures().correctPixelBuffer, *kept);
            if (!frame) {
                completionHandler(false, {ErrorCode::none, "Not rending"});
                return;
            }
            assetWriteManager_->startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
                frame, filePath, audioOutputSettings, completionHandler);
            noteRecording();
        });
}

void KTMTKView::stopRecord() {
    renderQueue_->async([this] {
        assetWriteManager_->stopRecord();
        noteRecording();
    });
}

} // namespace tavelo
