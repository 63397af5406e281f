// SPDX-License-Identifier: MIT
// A V4L2 camera as a session's input.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/capture.h"
#include "platform/common/stream_retry_policy.h"
#include "platform/common/stream_trouble.h"
#include "platform/diagnostics.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/linux/v4l2/v4l2_stream.h"
#include "platform/linux/wake_event.h"

namespace tavelo {

/// What an input depends on; the diagnostics must outlive it.
struct V4l2InputSetup {
    std::string path; ///< "/dev/video0"
    std::shared_ptr<V4l2NodeOpener> opener;
    Diagnostics& diagnostics;
    CaptureFormatRequest request;
    StreamPatience patience;
    /// Whether the node still belongs to the same camera.  Any thread; if empty, a node that fails is gone.
    std::function<bool()> isListed = {};
    /// Who holds a busy node, as busyText() says it; may take milliseconds.  Any thread; may be empty.
    std::function<std::string()> whoHolds = {};
    std::shared_ptr<ThreadPriority> priority = {}; ///< of the streaming thread; may be null
};

/// Streams on its own thread from start to stop and recovers from failures of the camera:
///
///     open -> choose a format -> stream --(silent, busy, failed: wait)--> open ...
///                                       --(unplugged)--> rest until stop
///
/// The device list decides what counts as unplugged: a driver that releases a camera's streaming interface,
/// or has just been bound to it, reports the same error for a node that stays.
///
/// The node is open only while it streams, since an open node keeps many cameras awake.  stop() returns
/// when the driver has released the camera; if the camera is dead, that takes up to five seconds.
class V4l2Input final : public CaptureDeviceInput {
public:
    V4l2Input(std::shared_ptr<CaptureDevice> device, V4l2InputSetup setup);
    ~V4l2Input() override;

    std::shared_ptr<CaptureDevice> device() const override { return device_; }
    void start(FrameSink& sink) override;
    void stop() override;
    Error trouble() const override { return trouble_.get(); }

private:
    struct Run {
        StreamEnd end = StreamEnd::stopped;
        int error = 0;
    };

    void run(FrameSink& sink);
    bool isListed() const { return setup_.isListed && setup_.isListed(); }
    Run streamOnce(FrameSink& sink);
    Run streamWithin(FrameSink& sink);
    Run startLightEnough(V4l2Node& node, std::unique_ptr<V4l2Stream>& stream);
    Run pump(const V4l2Node& node, V4l2Stream& stream, FrameSink& sink);
    int takeNewest(V4l2Stream& stream, std::optional<V4l2Stream::Frame>& newest);
    bool handle(const V4l2Stream::Frame& frame, FrameSink& sink);
    void countDropped();
    void report(const Run& run);
    std::string reasonOf(const Run& run) const;

    const std::shared_ptr<CaptureDevice> device_;
    const V4l2InputSetup setup_;
    WakeEvent stop_;
    StreamTrouble trouble_;
    std::thread thread_;

    // Used by the streaming thread.
    StreamRetryPolicy policy_;
    FrameConverter converter_;
    std::chrono::nanoseconds lastTime_{0};
    int droppedInARow_ = 0;
};

} // namespace tavelo
