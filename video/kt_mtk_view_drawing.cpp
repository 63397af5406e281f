// SPDX-License-Identifier: MIT
// How KTMTKView corrects and shows frames.
#include <utility>

#include "video/kt_mtk_view.h"

namespace tavelo {
namespace {

constexpr int maxSkippedPictures = 4; // in a row

} // namespace

void KTMTKView::drawBlack() {
    renderQueue_->async([this] {
        if (assetWriteManager_->isRecording()) assetWriteManager_->stopRecord();
        noteRecording();
        makeBlack();
        drawInMTKView();
    });
}

void KTMTKView::freePictureData() {
    renderQueue_->async([this] {
        Pictures released;
        Pictures releasedReduced;
        const std::lock_guard lock(stateMutex_);
        std::swap(released.pixelBuffer, pictures_.pixelBuffer);
        std::swap(released.correctPixelBuffer, pictures_.correctPixelBuffer);
        std::swap(released.correctTexture, pictures_.correctTexture);
        std::swap(releasedReduced, reduced_);
        cameraFrame_.reset();
        reducedSource_.reset();
        whole_ = Whole::corrected;
        frameSize_ = {};
    });
}

void KTMTKView::redisplay() {
    {
        const std::lock_guard lock(stateMutex_);
        if (std::exchange(redisplayWaits_, true)) return;
    }
    renderQueue_->async([this] {
        {
            const std::lock_guard lock(stateMutex_);
            redisplayWaits_ = false;
        }
        if (makeCurrent())
            displayPass();
        else
            didFailToDraw();
    });
}

void KTMTKView::drawWaitingFrame() {
    {
        const std::lock_guard lock(stateMutex_);
        drawWaits_ = false;
        presentationTime_ = waitingTime_;
    }
    if (drawInMTKView()) {
        ++drawnFrames_;
    } else {
        const std::lock_guard lock(stateMutex_);
        reducedSource_.reset(); // is not on the screen, so the same frame must be drawn if it comes again
    }
}

/// @return whether a camera frame was drawn; without one, only the screen is updated
bool KTMTKView::drawInMTKView() {
    if (!makeCurrent()) {
        allowNextFrame();
        didFailToDraw();
        return false;
    }
    const bool corrected = correctWaiting();
    const SampleBuffer recorded =
        corrected && assetWriteManager_->isRecording() ? toRecord() : SampleBuffer();
    const auto share = corrected ? shareSlot_.ready() : nullptr;
    const SampleBuffer shared = share ? toShare(*share) : SampleBuffer();
    allowNextFrame();
    if (mayPresent()) displayPass();
    record(recorded);
    if (shared.mediaType()) share->share(shared);
    noteRecording();
    return corrected;
}

/// @return false if there is no frame or it could not be corrected
bool KTMTKView::correctWaiting() {
    Shown waiting = Shown::nothing;
    Pictures reduced;
    {
        const std::lock_guard lock(stateMutex_);
        waiting = waiting_;
        reduced = reduced_;
    }
    if (waiting == Shown::nothing) return true; // nobody looks; the frame is recorded
    if (waiting == Shown::reduced ? !correctionPass(reduced) : !makeWhole()) return false;
    didShow(waiting);
    return true;
}

// The other pictures are not needed for now.
void KTMTKView::didShow(Shown shown) {
    Pictures released;
    const std::lock_guard lock(stateMutex_);
    shown_ = shown;
    if (shown == Shown::whole)
        std::swap(released, reduced_);
    else if (whole_ == Whole::kept && (!keepsEveryFrame_ || recordsCameraFrames_))
        std::swap(released, pictures_);
}

void KTMTKView::allowNextFrame() {
    {
        const std::lock_guard lock(stateMutex_);
        frameWaits_ = false;
    }
    frameTaken_.notify_one();
}

// During a recording, skips pictures of the preview if frames are waiting, but only a few in a row.
bool KTMTKView::mayPresent() {
    {
        const std::lock_guard lock(stateMutex_);
        const bool late = keepsEveryFrame_ && (frameWaits_ || captureWaits_);
        if (late && ++skippedPictures_ <= maxSkippedPictures) return false;
    }
    skippedPictures_ = 0;
    return true;
}

bool KTMTKView::correctionPass(const Pictures& pictures) {
    if (!pictures.pixelBuffer || !pictures.texture || !pictures.correctPixelBuffer ||
        !pictures.correctTexture)
        return false;
    CorrectionParameters parameters;
    {
        const std::lock_guard lock(stateMutex_);
        parameters = correction_;
    }
    bool done = false;
    {
        const auto frameLock = pictures.pixelBuffer->lock(); // not while a frame is copied into it
        const auto correctLock = pictures.correctPixelBuffer->lock();
        done = backend_.passes->correct(
            *pictures.texture, *pictures.correctTexture, parameters,
            correctionGroupCount(pictures.pixelBuffer->width(), pictures.pixelBuffer->height()));
    }
    if (done)
        didDraw();
    else
        didFailToDraw();
    return done;
}

void KTMTKView::displayPass() {
    const ViewportSize viewport = viewportSize();
    if (!backend_.surface->beginDisplay(viewport)) return;
    backend_.passes->display(shownPictures().correctTexture.get(), viewport, matrixFor(viewport));
    backend_.surface->present();
}

KTMTKView::Pictures KTMTKView::shownPictures() const {
    const std::lock_guard lock(stateMutex_);
    return shown_ == Shown::reduced ? reduced_ : pictures_;
}

KTMTKView::Pictures KTMTKView::pictures() const {
    const std::lock_guard lock(stateMutex_);
    return pictures_;
}

} // namespace tavelo
