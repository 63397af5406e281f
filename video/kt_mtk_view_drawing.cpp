// SPDX-License-Identifier: MIT
// How KTMTKView copies, corrects and shows frames.
#include <algorithm>
#include <cstring>
#include <utility>

#include "video/kt_mtk_view.h"

namespace tavelo {
namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t rowAlignment = 64;
constexpr int maxSkippedPictures = 4; // in a row

// The frame's own row length, as the copy requires, or a padded one if the passes could not use that.
std::size_t rowLengthFor(const PixelBuffer& frame) {
    const std::size_t needed = frame.width() * bytesPerPixel;
    const std::size_t given = frame.bytesPerRow();
    if (frame.planeCount() == 0 && given >= needed && given % bytesPerPixel == 0) return given;
    return (needed + rowAlignment - 1) / rowAlignment * rowAlignment;
}

void copyRows(const PixelBuffer::Plane& source, const PixelBuffer::Plane& destination,
              std::size_t destinationAdvance) {
    const std::size_t rows = std::min(source.height, destination.height);
    const std::size_t bytes = std::min(source.bytesPerRow, destination.bytesPerRow);
    if (source.bytesPerRow == bytes && destinationAdvance == bytes) {
        std::memcpy(destination.baseAddress, source.baseAddress, rows * bytes);
        return;
    }
    for (std::size_t row = 0; row < rows; ++row)
        std::memcpy(destination.baseAddress + row * destinationAdvance,
                    source.baseAddress + row * source.bytesPerRow, bytes);
}

// Both must be locked.
void copyPlanes(const PixelBuffer& source, const PixelBuffer& destination) {
    if (source.planeCount() == 0) {
        const std::size_t advance = std::min(source.bytesPerRow(), destination.bytesPerRow());
        copyRows(source.planes().front(), destination.planes().front(), advance);
        return;
    }
    const std::size_t planes = std::min(source.planes().size(), destination.planes().size());
    for (std::size_t plane = 0; plane < planes; ++plane)
        copyRows(source.planes()[plane], destination.planes()[plane],
                 destination.planes()[plane].bytesPerRow);
}

} // namespace

void KTMTKView::drawPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& frame,
                                                    const MediaTime& time) {
    if (!frame) return;
    waitForPreviousFrame();
    if (!fits(*frame)) {
        // In one task, so that no draw or snapshot runs between the release and the new pictures.
        renderQueue_->sync([&] {
            releasePictures();
            createTextureWithPixelBuffer(frame);
        });
    }
    copyIntoPicture(*frame);
    {
        const std::lock_guard lock(stateMutex_);
        waitingTime_ = time;
        frameWaits_ = true;
        if (std::exchange(drawWaits_, true)) return;
    }
    renderQueue_->async([this] { drawWaitingFrame(); });
}

// During a recording, waits until the previous frame is corrected, so that a slow screen costs no movie
// frames.
void KTMTKView::waitForPreviousFrame() {
    if (!keepsEveryFrame_) return;
    std::unique_lock lock(stateMutex_);
    captureWaits_ = true;
    frameTaken_.wait(lock, [this] { return !frameWaits_; });
    captureWaits_ = false;
}

void KTMTKView::copyIntoPicture(const PixelBuffer& frame) {
    const auto destination = pixelBuffer();
    if (!destination) return;
    const auto sourceLock = frame.lock();
    const auto destinationLock = destination->lock();
    // Checked again under the lock: a renderer that is destroyed frees this memory, but first releases the
    // buffer and then waits for its lock.
    if (pixelBuffer() == destination) copyPlanes(frame, *destination);
}

bool KTMTKView::fits(const PixelBuffer& frame) const {
    const auto current = pixelBuffer();
    return current && current->width() == frame.width() && current->height() == frame.height() &&
           current->bytesPerRow() == rowLengthFor(frame);
}

void KTMTKView::releasePictures() {
    Pictures released; // destroyed after the lock is released
    const std::lock_guard lock(stateMutex_);
    std::swap(released, pictures_);
}

void KTMTKView::createTextureWithPixelBuffer(const std::shared_ptr<PixelBuffer>& frame) {
    if (!frame || frame->width() == 0 || frame->height() == 0) return;
    const std::size_t rowLength = rowLengthFor(*frame);
    FramePicture camera;
    FramePicture corrected;
    renderQueue_->sync([&] {
        if (!makeCurrent()) return;
        const auto make = [&](PictureUse use) {
            return backend_.passes->makePicture(use, frame->width(), frame->height(), rowLength);
        };
        camera = make(PictureUse::cameraFrame);
        corrected = make(PictureUse::correctedFrame);
    });

    const std::lock_guard lock(stateMutex_);
    if (camera.texture) {
        std::swap(pictures_.pixelBuffer, camera.pixelBuffer);
        std::swap(pictures_.texture, camera.texture);
    }
    if (corrected.texture) {
        std::swap(pictures_.correctPixelBuffer, corrected.pixelBuffer);
        std::swap(pictures_.correctTexture, corrected.texture);
    }
    correctGroupSize_ = correctionGroupSize;
    correctGroupCount_ = correctionGroupCount(frame->width(), frame->height());
}

void KTMTKView::copyDataFromPixelBufferToPixelBuffer(const PixelBuffer& source, PixelBuffer& destination) {
    const auto sourceLock = source.lock();
    const auto destinationLock = destination.lock();
    copyPlanes(source, destination);
}

void KTMTKView::drawBlack() {
    renderQueue_->async([this] {
        if (assetWriteManager_->isRecording()) assetWriteManager_->stopRecord();
        noteRecording();
        if (const auto frame = pixelBuffer()) {
            const auto lock = frame->lock();
            for (const PixelBuffer::Plane& plane : frame->planes())
                std::memset(plane.baseAddress, 0, plane.height * plane.bytesPerRow);
        }
        drawInMTKView();
    });
}

void KTMTKView::freePictureData() {
    renderQueue_->async([this] {
        Pictures released;
        const std::lock_guard lock(stateMutex_);
        std::swap(released.pixelBuffer, pictures_.pixelBuffer);
        std::swap(released.correctPixelBuffer, pictures_.correctPixelBuffer);
        std::swap(released.correctTexture, pictures_.correctTexture);
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
            displayPass(pictures());
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
    if (drawInMTKView()) ++drawnFrames_;
}

/// @return whether a camera frame was drawn; without one, only the screen is updated
bool KTMTKView::drawInMTKView() {
    if (!makeCurrent()) {
        allowNextFrame();
        didFailToDraw();
        return false;
    }
    const Pictures current = pictures();
    const bool corrected = correctionPass(current);
    allowNextFrame();
    if (mayPresent()) displayPass(current);
    if (corrected && assetWriteManager_->isRecording())
        assetWriteManager_->recordPixelBufferWithPresentationTime(current.correctPixelBuffer,
                                                                  presentationTime());
    noteRecording();
    return corrected;
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

void KTMTKView::noteRecording() {
    keepsEveryFrame_ = assetWriteManager_->isRecording();
}

bool KTMTKView::correctionPass(const Pictures& pictures) {
    if (!pictures.pixelBuffer || !pictures.texture || !pictures.correctPixelBuffer ||
        !pictures.correctTexture)
        return false;
    CorrectionParameters parameters;
    parameters.shouldFlipHorizontal = shouldFlipHorizontal_ ? 1 : 0;
    parameters.shouldFlipVertical = shouldFlipVertical_ ? 1 : 0;
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

void KTMTKView::displayPass(const Pictures& pictures) {
    const ViewportSize viewport = viewportSize();
    if (!backend_.surface->beginDisplay(viewport)) return;
    backend_.passes->display(pictures.correctTexture.get(), viewport, matrixFor(pictures, viewport));
    backend_.surface->present();
}

KTMTKView::Pictures KTMTKView::pictures() const {
    const std::lock_guard lock(stateMutex_);
    return pictures_;
}

} // namespace tavelo
