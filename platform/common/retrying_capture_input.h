// SPDX-License-Identifier: MIT
// An input that streams on a thread of its own and tries again when its camera fails.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/capture.h"
#include "platform/common/stream_retry_policy.h"
#include "platform/common/stream_trouble.h"
#include "platform/diagnostics.h"

namespace tavelo {

struct CaptureInputOptions {
    Diagnostics& diagnostics; ///< must outlive the input
    /// Who holds a busy camera: "busy: in use by ..."; may take milliseconds.  Called on the input's thread.
    std::function<std::string()> whoHolds;
    CaptureFormatRequest request = {};
    StreamPatience patience = {};
    /// Whether the camera is still plugged in; if empty, it is until its driver reports it gone.  Called on
    /// the input's thread.
    std::function<bool()> isListed = {};
    std::shared_ptr<ThreadPriority> priority = {}; ///< of the stream's threads; may be null
};

/// Why a run of a stream ended, with a sentence for people if there is something to say.
struct StreamOver {
    StreamEnd end = StreamEnd::stopped;
    std::string reason = {};
};

/// Streams from start to stop and recovers from failures of the camera:
///
///     streamOnce() --(silent, busy, failed: wait)--> streamOnce() ...
///                  --(unplugged)--> rest until stop
///
/// The device list decides what counts as unplugged: a driver that releases a camera, or has just been bound
/// to it, reports the same error for one that stays.
///
/// A subclass calls stop() in its destructor.
class RetryingCaptureInput : public CaptureDeviceInput {
public:
    RetryingCaptureInput(const RetryingCaptureInput&) = delete;
    RetryingCaptureInput& operator=(const RetryingCaptureInput&) = delete;

    std::shared_ptr<CaptureDevice> device() const final { return device_; }
    void start(FrameSink& sink) final;
    void stop() final;
    Error trouble() const final { return trouble_.get(); }

protected:
    using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC

    /// @param device     may be null
    /// @param name       of the camera in reports
    /// @param threadName at most 15 characters; a literal
    RetryingCaptureInput(std::shared_ptr<CaptureDevice> device, std::string name, const char* threadName,
                         CaptureInputOptions options);

    const CaptureInputOptions& options() const { return options_; }

    // For streamOnce().

    /// Until when the first frame of a run must come.
    Clock::time_point firstDeadline() const { return Clock::now() + policy_.firstFrame(); }

    /// A whole frame came from the camera: all is well again.
    /// @return until when the next one must come
    Clock::time_point frameCame();

    /// Which pictures to make of the next frame.
    PictureDemand demand() const { return sink_->demand(); }

    /// Passes the pictures of a frame on.  Empty: the frame turned out to be damaged.
    /// @param time of its capture; raised if the frame before had the same or a later one
    void deliver(SampleBuffer pictures, std::chrono::nanoseconds time);

    /// Reports once if no frame of about a second was whole.
    void countDamaged();

private:
    /// Opens the camera and delivers its frames until the stream ends.  Called on the input's thread.
    virtual StreamOver streamOnce() = 0;

    /// The last call on the input's thread: gives back what streamOnce() kept.
    virtual void release() {}

    /// Sets or clears the signal that ends streamOnce() and waitForStop().
    virtual void setStop(bool stop) = 0;
    /// @return whether the signal was set in time
    virtual bool waitForStop(std::chrono::milliseconds time) const = 0;

    void run();
    bool isUnplugged(StreamEnd end) const;
    void report(StreamOver over);

    const std::shared_ptr<CaptureDevice> device_;
    const std::string name_;
    const char* const threadName_;
    const CaptureInputOptions options_;
    StreamTrouble trouble_;
    std::thread thread_;

    // Used by the thread.
    FrameSink* sink_ = nullptr;
    StreamRetryPolicy policy_;
    std::chrono::nanoseconds lastTime_{0};
    int damagedInARow_ = 0;
};

} // namespace tavelo
