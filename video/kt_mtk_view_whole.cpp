// SPDX-License-Identifier: MIT
// How KTMTKView makes the whole picture of a frame of which only a reduced one was drawn, or none.
#include <cstring>

#include "video/kt_mtk_view.h"

namespace tavelo {

ViewportSize KTMTKView::frameSize() const {
    const std::lock_guard lock(stateMutex_);
    return frameSize_;
}

std::shared_ptr<const CameraFrame> KTMTKView::keptFrame() const {
    const std::lock_guard lock(stateMutex_);
    return cameraFrame_;
}

std::shared_ptr<PixelBuffer> KTMTKView::pixelBuffer() {
    makeWholeUnlessDrawn();
    return pictures().pixelBuffer;
}

std::shared_ptr<PixelBuffer> KTMTKView::correctPixelBuffer() {
    makeWholeUnlessDrawn();
    return pictures().correctPixelBuffer;
}

void KTMTKView::makeWholeUnlessDrawn() {
    {
        const std::lock_guard lock(stateMutex_);
        if (whole_ == Whole::corrected || waiting_ == Shown::whole) return;
    }
    renderQueue_->sync([this] { wholePicture(); });
}

/// @return null if there is none, or if it cannot be made: a damaged frame shows only now, and OpenGL may
///     fail
std::shared_ptr<PixelBuffer> KTMTKView::wholePicture() {
    const auto state = [this] {
        const std::lock_guard lock(stateMutex_);
        return whole_;
    };
    if (state() != Whole::corrected && makeCurrent()) makeWhole();
    return state() == Whole::corrected ? pictures().correctPixelBuffer : nullptr;
}

/// @return whether the whole corrected picture is now that of the last frame
bool KTMTKView::makeWhole() {
    const std::lock_guard wholeLock(wholeMutex_);
    if (const auto kept = keptFrame(); kept && !drawKeptFrame(*kept)) return false;
    if (!correctionPass(pictures())) return false;
    const std::lock_guard lock(stateMutex_);
    whole_ = Whole::corrected;
    cameraFrame_.reset();
    return true;
}

// Of a frame that nobody looked at, the whole one.
std::shared_ptr<PixelBuffer> KTMTKView::currentPicture() {
    {
        const std::lock_guard lock(stateMutex_);
        if (waiting_ != Shown::nothing)
            return (shown_ == Shown::reduced ? reduced_ : pictures_).correctPixelBuffer;
    }
    return wholePicture();
}

// Drawn or not: a frame that cannot be made is one, too.
bool KTMTKView::hasFrame() const {
    const std::lock_guard lock(stateMutex_);
    return cameraFrame_ || pictures_.pixelBuffer;
}

bool KTMTKView::drawKeptFrame(const CameraFrame& frame) {
    makeWholePicturesFor(frame);
    const auto destination = pictures().pixelBuffer;
    if (!destination || destination->width() != frame.width() || destination->height() != frame.height())
        return false;
    const auto lock = destination->lock();
    return frame.draw(*destination);
}

void KTMTKView::makeBlack() {
    const std::lock_guard wholeLock(wholeMutex_);
    if (const auto kept = keptFrame()) makeWholePicturesFor(*kept);
    if (const auto frame = pictures().pixelBuffer) {
        const auto lock = frame->lock();
        for (const PixelBuffer::Plane& plane : frame->planes())
            std::memset(plane.baseAddress, 0, plane.height * plane.bytesPerRow);
    }
    const std::lock_guard lock(stateMutex_);
    cameraFrame_.reset();
    reducedSource_.reset();
    whole_ = Whole::copied;
    waiting_ = Shown::whole;
}

} // namespace tavelo
