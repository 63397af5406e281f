// SPDX-License-Identifier: MIT
// The preview area: one camera's capture session and the renderer that shows it.
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

/// Runs the session of the camera it is given and hands every frame to its renderer.
///
///     idle --showDevice(device)--> running --showDevice(null), stopRunning--> idle
///
/// A widget of the main thread; the session starts on the capture queue, and frames come there.  A device
/// that cannot be opened, or that the session rejects, leaves the view idle with captureDevice() set and
/// deviceUniqueID() as it was.  The accessors are thread-safe.
class KTDisplayView : public QWidget, public SampleBufferDelegate {
    Q_OBJECT

public:
    /// Null where the session does not take the view's output.
    /// @param platform must outlive the view
    static std::unique_ptr<KTDisplayView> create(const QRect& frame, CapturePlatform& platform,
                                                 RendererChoice renderer, QWidget* parent = nullptr);
    /// Stops the session.
    ~KTDisplayView() override;

    /// Switches to a device and starts it: stops the one shown before at once, starts in the background. Null
    /// leaves the last picture standing.
    void showDevice(const std::shared_ptr<CaptureDevice>& device);

    /// Starts the session in the background.
    void startRunning();

    /// Stops the session in the background, makes the picture black and lets go of the camera shown when it
    /// was called.  A camera shown since then stays.
    void stopRunning();

    /// Makes the renderer as large as the view.
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

    // Destroyed from the last to the first: the queue runs empty while session, output and renderer still
    // live.
    std::unique_ptr<CaptureVideoDataOutput> captureVideoDataOutput_;
    std::unique_ptr<CaptureSession> captureSession_;
    KTMTKView* mtkView_ = nullptr; // owned by the container
    QWidget* container_ = nullptr; // a child widget

    // Guards the four below.  Never held while the session is asked for anything: stopping may take long.
    mutable std::mutex fieldsMutex_;
    std::condition_variable detached_;
    bool detaching_ = false; // the capture queue is taking an input out of the session
    std::string deviceUniqueID_;
    std::shared_ptr<CaptureDevice> captureDevice_;
    std::shared_ptr<CaptureDeviceInput> videoCaptureDeviceInput_;

    std::unique_ptr<SerialQueue> captureQueue_;
};

} // namespace tavelo
