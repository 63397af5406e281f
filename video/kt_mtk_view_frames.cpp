// SPDX-License-Identifier: MIT
// How KTMTKView takes frames, and makes the whole picture of one when it is asked for.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "video/kt_mtk_view.h"

namespace tavelo {
namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t rowAlignment = 64;

std::size_t paddedRow(std::size_t width) {
    return (width * bytesPerPixel + rowAlignment - 1) / rowAlignment * rowAlignment;
}

// The frame's own row length, as the copy requires, or a padded one if the passes could not use that.
std::size_t rowLengthFor(const PixelBuffer& frame) {
    const std::size_t needed = frame.width() * bytesPerPixel;
    const std::size_t given = frame.bytesPerRow();
    if (frame.planeCount() == 0 && given >= needed && given % bytesPerPixel == 0) return given;
    return paddedRow(frame.width());
}

bool fits(const PixelBuffer* picture, std::size_t width, std::size_t height, std::size_t rowLength) {
    return picture != nullptr && picture->width() == width && picture->height() == height &&
           picture->bytesPerRow() == rowLength;
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

// A very flat picture is a line.
std::uint32_t shownSide(double side) {
    return side > 0 ? std::uint32_t(std::max(1L, std::lround(side))) : 0;
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

PictureDemand KTMTKView::demand() const {
    PictureDemand demand;
    const SharedPicture shared = shareSlot_.wanted();
    demand.forMovie = recordsCameraFrames_ || shared == SharedPicture::cameraFrame;
    demand.whole =
        needsWholePictures_ || (keepsEveryFrame_ && !recordsCameraFrames_) || shared == SharedPicture::whole;
    if (!drawable_) return demand;
    const ViewportSize viewport = viewportSize();
    const ViewportSize frame = frameSize();
    const Transform scale = modelViewTransform(videoGravity_, frame.width, frame.height, viewport);
    demand.shownWidth = shownSide(viewport.width * scale[0]);
    demand.shownHeight = shownSide(viewport.height * scale[5]);
    return demand;
}

void KTMTKView::drawPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& frame,
                                                    const MediaTime& time) {
    drawSample({frame, time});
}

void KTMTKView::drawSample(const SampleBuffer& sample) {
    if (sample.mediaType() != MediaType::video) return;
    shareSlot_.noteFrame(sample);
    waitForPreviousFrame();
    if (isShownAlready(sample)) return countUndrawn(sample.presentationTimeStamp);
    if (sample.imageBuffer) takeWhole(sample.imageBuffer);
    if (sample.reducedBuffer) takeReduced(*sample.reducedBuffer);
    requestDraw(sample);
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

void KTMTKView::takeWhole(const std::shared_ptr<PixelBuffer>& frame) {
    if (!fits(pictures().pixelBuffer.get(), frame->width(), frame->height(), rowLengthFor(*frame))) {
        // In one task, so that no draw or snapshot runs between the release and the new pictures.
        renderQueue_->sync([&] {
            release(pictures_);
            createTextureWithPixelBuffer(frame);
        });
    }
    const std::lock_guard wholeLock(wholeMutex_);
    copyInto(pictures_, *frame);
    const std::lock_guard lock(stateMutex_);
    whole_ = Whole::copied;
    cameraFrame_.reset();
    setFrameSize(frame->width(), frame->height());
}

void KTMTKView::takeReduced(const PixelBuffer& reduced) {
    const auto current = [this] {
        const std::lock_guard lock(stateMutex_);
        return reduced_.pixelBuffer;
    }();
    const std::size_t rowLength = rowLengthFor(reduced);
    if (!fits(current.get(), reduced.width(), reduced.height(), rowLength))
        makePictures(reduced_, reduced.width(), reduced.height(), rowLength);
    copyInto(reduced_, reduced);
}

void KTMTKView::copyInto(const Pictures& which, const PixelBuffer& frame) {
    const auto current = [&] {
        const std::lock_guard lock(stateMutex_);
        return which.pixelBuffer;
    };
    const auto destination = current();
    if (!destination) return;
    const auto sourceLock = frame.lock();
    const auto destinationLock = destination->lock();
    // Checked again under the lock: a renderer that is destroyed frees this memory, but first releases the
    // buffer and then waits for its lock.
    if (current() == destination) copyPlanes(frame, *destination);
}

// An input that gets the same frame again delivers the same picture.
bool KTMTKView::isShownAlready(const SampleBuffer& sample) const {
    const bool isShared = shareSlot_.wanted() != SharedPicture::none;
    const std::lock_guard lock(stateMutex_);
    return sample.reducedBuffer && sample.reducedBuffer == reducedSource_ && !sample.imageBuffer &&
           !keepsEveryFrame_ && !isShared &&
           (correction_.shouldFlipHorizontal != 0) == shouldFlipHorizontal_ &&
           (correction_.shouldFlipVertical != 0) == shouldFlipVertical_;
}

void KTMTKView::countUndrawn(const MediaTime& time) {
    const std::lock_guard lock(stateMutex_);
    presentationTime_ = waitingTime_ = time;
    ++drawnFrames_;
}

void KTMTKView::requestDraw(const SampleBuffer& sample) {
    const bool isShared = shareSlot_.wanted() != SharedPicture::none;
    {
        const std::lock_guard wholeLock(wholeMutex_);
        const std::lock_guard lock(stateMutex_);
        if (!sample.imageBuffer) {
            whole_ = Whole::kept;
            cameraFrame_ = sample.cameraFrame;
            setFrameSize(cameraFrame_->width(), cameraFrame_->height());
        }
        reducedSource_ = sample.reducedBuffer;
        waiting_ = sample.reducedBuffer ? Shown::reduced : sample.imageBuffer ? Shown::whole : Shown::nothing;
        correction_.shouldFlipHorizontal = shouldFlipHorizontal_ ? 1 : 0;
        correction_.shouldFlipVertical = shouldFlipVertical_ ? 1 : 0;
        waitingTime_ = sample.presentationTimeStamp; // of a draw that is on its way, too
        if (waiting_ == Shown::nothing && !keepsEveryFrame_ && !isShared) {
            presentationTime_ = sample.presentationTimeStamp;
            ++drawnFrames_;
            return;
        }
        frameWaits_ = true;
        if (std::exchange(drawWaits_, true)) return;
    }
    renderQueue_->async([this] { drawWaitingFrame(); });
}

void KTMTKView::release(Pictures& which) {
    Pictures released; // destroyed after the lock is released
    const std::lock_guard lock(stateMutex_);
    std::swap(released, which);
}

void KTMTKView::createTextureWithPixelBuffer(const std::shared_ptr<PixelBuffer>& frame) {
    if (!frame || frame->width() == 0 || frame->height() == 0) return;
    makePictures(pictures_, frame->width(), frame->height(), rowLengthFor(*frame));
    const std::lock_guard lock(stateMutex_);
    setFrameSize(frame->width(), frame->height());
}

void KTMTKView::makePictures(Pictures& which, std::size_t width, std::size_t height, std::size_t rowLength) {
    FramePicture camera;
    FramePicture corrected;
    renderQueue_->sync([&] {
        if (!makeCurrent()) return;
        const auto make = [&](PictureUse use) {
            return backend_.passes->makePicture(use, width, height, rowLength);
        };
        camera = make(PictureUse::cameraFrame);
        corrected = make(PictureUse::correctedFrame);
    });

    const std::lock_guard lock(stateMutex_);
    if (camera.texture) {
        std::swap(which.pixelBuffer, camera.pixelBuffer);
        std::swap(which.texture, camera.texture);
    }
    if (corrected.texture) {
        std::swap(which.correctPixelBuffer, corrected.pixelBuffer);
        std::swap(which.correctTexture, corrected.texture);
    }
}

void KTMTKView::makeWholePicturesFor(const CameraFrame& frame) {
    const std::size_t rowLength = paddedRow(frame.width());
    if (!fits(pictures().pixelBuffer.get(), frame.width(), frame.height(), rowLength))
        makePictures(pictures_, frame.width(), frame.height(), rowLength);
}

// The caller holds stateMutex_.
void KTMTKView::setFrameSize(std::size_t width, std::size_t height) {
    frameSize_ = {std::uint32_t(width), std::uint32_t(height)};
    correctGroupSize_ = correctionGroupSize;
    correctGroupCount_ = correctionGroupCount(width, height);
}

void KTMTKView::copyDataFromPixelBufferToPixelBuffer(const PixelBuffer& source, PixelBuffer& destination) {
    const auto sourceLock = source.lock();
    const auto destinationLock = destination.lock();
    copyPlanes(source, destination);
}

} // namespace tavelo
