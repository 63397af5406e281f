// SPDX-License-Identifier: MIT
#include "video/kt_display_view.h"

#include <QPalette>
#include <utility>

namespace tavelo {

std::unique_ptr<KTDisplayView> KTDisplayView::create(const QRect& frame, CapturePlatform& platform,
                                                     RendererChoice renderer, QWidget* parent) {
    auto session = platform.makeSession();
    auto output = std::make_unique<CaptureVideoDataOutput>();
    output->setVideoSettings({PixelFormat::bgra32});
    if (!session->canAddOutput(*output)) return nullptr;
    std::unique_ptr<KTDisplayView> view(
        new KTDisplayView(frame, renderer, std::move(session), std::move(output), parent));
    if (const auto priority = platform.threadPriority()) {
        for (SerialQueue* queue : {&view->captureQueue(), &view->mtkView()->renderQueue()})
            queue->async([priority] { priority->raise(); });
    }
    return view;
}

KTDisplayView::KTDisplayView(const QRect& frame, RendererChoice renderer,
                             std::unique_ptr<CaptureSession> session,
                             std::unique_ptr<CaptureVideoDataOutput> output, QWidget* parent)
    : QWidget(parent),
      captureVideoDataOutput_(std::move(output)),
      captureSession_(std::move(session)),
      captureQueue_(std::make_unique<SerialQueue>("kt.captureQueue")) {
    setGeometry(frame);
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
    setAutoFillBackground(true);

    auto renderView = std::make_unique<KTMTKView>(QRect(), renderer);
    mtkView_ = renderView.get();
    container_ = QWidget::createWindowContainer(renderView.release(), this);
    mtkView_->setContainer(container_);
    layout();

    captureVideoDataOutput_->setSampleBufferDelegate(this, captureQueue_.get());
    captureVideoDataOutput_->setDemand(mtkView_->demand());
    captureSession_->addOutput(*captureVideoDataOutput_);
}

KTDisplayView::~KTDisplayView() {
    detach();
}

void KTDisplayView::layout() {
    container_->setGeometry(rect());
}

void KTDisplayView::resizeEvent(QResizeEvent*) {
    layout();
}

void KTDisplayView::showDevice(const std::shared_ptr<CaptureDevice>& device) {
    detach();
    if (device) attach(device);
}

void KTDisplayView::detach() {
    {
        std::unique_lock lock(fieldsMutex_);
        detached_.wait(lock, [this] { return !detaching_; });
        if (!videoCaptureDeviceInput_) {
            captureDevice_.reset();
            return;
        }
    }
    // Keep the input until no more frames can arrive, so that a stop on the queue still finds it.
    captureSession_->stopRunning();
    std::shared_ptr<CaptureDeviceInput> input;
    {
        std::unique_lock lock(fieldsMutex_);
        detached_.wait(lock, [this] { return !detaching_; });
        input = std::exchange(videoCaptureDeviceInput_, nullptr);
        captureDevice_.reset();
    }
    if (input) captureSession_->removeInput(*input);
}

void KTDisplayView::attach(const std::shared_ptr<CaptureDevice>& device) {
    Error error; // not reported
    const std::shared_ptr<CaptureDeviceInput> input = device->makeInput(error);
    {
        const std::lock_guard lock(fieldsMutex_);
        captureDevice_ = device;
        videoCaptureDeviceInput_ = input;
    }
    if (!input || !captureSession_->canAddInput(*input)) return;
    captureSession_->addInput(*input);
    {
        const std::lock_guard lock(fieldsMutex_);
        deviceUniqueID_ = device->uniqueID();
    }
    captureVideoDataOutput_->setDemand(mtkView_->demand());
    startRunning();
}

void KTDisplayView::startRunning() {
    captureQueue_->async([this] { captureSession_->startRunning(); });
}

void KTDisplayView::stopRunning() {
    captureQueue_->async([this, attached = videoCaptureDeviceInput()] { stopOnQueue(attached); });
}

void KTDisplayView::stopOnQueue(const std::shared_ptr<CaptureDeviceInput>& attached) {
    std::shared_ptr<CaptureDeviceInput> input;
    {
        const std::lock_guard lock(fieldsMutex_);
        if (videoCaptureDeviceInput_ != attached && videoCaptureDeviceInput_) return; // replaced meanwhile
        input = std::exchange(videoCaptureDeviceInput_, nullptr);
        captureDevice_.reset();
        detaching_ = input != nullptr;
    }
    if (input) captureSession_->stopRunning();
    mtkView_->drawBlack();
    if (!input) return;
    captureSession_->removeInput(*input);
    input.reset();
    // Notify under the lock, because the waiting main thread may destroy the view next.
    const std::lock_guard lock(fieldsMutex_);
    detaching_ = false;
    detached_.notify_all();
}

void KTDisplayView::captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                                     const SampleBuffer& sample,
                                                                     const CaptureConnection&) {
    if (&output != captureVideoDataOutput_.get()) return;
    captureVideoDataOutput_->setDemand(mtkView_->demand()); // what is wanted may change at any time
    mtkView_->drawSample(sample);
}

void KTDisplayView::captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput&,
                                                                   const SampleBuffer&,
                                                                   const CaptureConnection&) {}

std::string KTDisplayView::deviceUniqueID() const {
    const std::lock_guard lock(fieldsMutex_);
    return deviceUniqueID_;
}

std::shared_ptr<CaptureDevice> KTDisplayView::captureDevice() const {
    const std::lock_guard lock(fieldsMutex_);
    return captureDevice_;
}

std::shared_ptr<CaptureDeviceInput> KTDisplayView::videoCaptureDeviceInput() const {
    const std::lock_guard lock(fieldsMutex_);
    return videoCaptureDeviceInput_;
}

} // namespace tavelo
