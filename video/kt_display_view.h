// SPDX-License-Identifier: MIT
// The preview: a camera's capture session and the renderer that shows it.
#pragma once

#include <QWidget>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "platform/capture.h"
#include "platform/serial_queue.h"
#include "video/kt_mtk_view.h"

namespace tavelo {

/// Runs the session of a camera and passes every frame to its renderer.
///
///     idle --showDevice(device)--> running --showDevice(null), stopRunning--> idle
///
/// A widget of the main thread.  The session starts on the capture queue, which also delivers the frames.  If
/// a device cannot be opened or the session rejects it, the view stays idle, with captureDevice() set and
/// deviceUniqueID() unchanged.  The accessors are thread-safe.
class KTDisplayView : public QWidget, public SampleBufferDelegate {
    Q_OBJECT

public:
    /// Null if the session rejects the view's output.
    /// @param platform must outlive the view
    static std::unique_ptr<KTDisplayView> create(const QRect& frame, CapturePlatform& platform,
                                                 RendererChoice renderer, QWidget* parent = nullptr);
    /// Stops the session.
    ~KTDisplayView() override;

    /// Switches to a device: stops the current one at once, and starts the new one in the background.  Null
    /// keeps the last picture.
    void showDevice(const std::shared_ptr<CaptureDevice>& device);

    /// Starts the session in the background.
    void startRunning();

    /// Stops the session in the background, makes the picture black and releases the camera that is shown
    /// now. A camera shown by a later call is kept.
    void stopRunning();

    /// Resizes the renderer to the view.
    void layout();

    std::string deviceUniqueID() const;
    std::shared_ptr<CaptureDevice> captureDevice() const;
    std::shared_ptr<CaptureDeviceInput> videoCaptureDeviceInput() const;
    CaptureSession& captureSession() { return *captureSession_; }
    CaptureVideoDataOutput& captureVideoDataOutput() { return *captureVideoDataOutput_; }
    SerialQueue& captureQueue() { return *captureQueue_; }
    /// Owned by the view; never null.
    KTMTKView* mtkView() const { return mtkView_; }

    void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                          const SampleBuffer& sample,
                                                          const CaptureConnection& connection) override;
    void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                        const SampleBuffer& sample,
                                                        const CaptureConnection& connection) override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    KTDisplayView(const QRect& frame, RendererChoice renderer, std::unique_ptr<CaptureSession> session,
                  std::unique_ptr<CaptureVideoDataOutput> output, QWidget* parent);

    void attach(const std::shared_ptr<CaptureDevice>& device);
    void detach();
    void stopOnQueue(const std::shared_ptr<CaptureDeviceInput>& attached);

    // The queue is the last member so that it is destroyed first: its remaining tasks use session, output and
    // renderer.
    std::unique_ptr<CaptureVideoDataOutput> captureVideoDataOutput_;
    std::unique_ptr<CaptureSession> captureSession_;
    KTMTKView* mtkView_ = nullptr; // owned by the container
    QWidget* container_ = nullptr; // a child widget

    // Guards the members below up to the queue.  Never held while calling the session, because stopping may
    // take long.
    mutable std::mutex fieldsMutex_;
    std::condition_variable detached_;
    bool detaching_ = false; // the capture queue is removing an input from the session
    std::string deviceUniqueID_;
    std::shared_ptr<CaptureDevice> captureDevice_;
    std::shared_ptr<CaptureDeviceInput> videoCaptureDeviceInput_;

    std::unique_ptr<SerialQueue> captureQueue_;
};

} // namespace tavelo
