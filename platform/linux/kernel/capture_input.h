// SPDX-License-Identifier: MIT
// A V4L2 camera as a session's input.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture.h"
#include "platform/common/retrying_capture_input.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/pipewire/module/shared_camera.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/linux/v4l2/v4l2_stream.h"
#include "platform/linux/wake_event.h"

namespace tavelo {

/// The way to pictures that another program holds.
struct SharedPictures {
    /// Null if there is no way.  Called on the input's thread, whenever there was none.  Empty: the driver is
    /// the only way.
    std::function<std::unique_ptr<SharedCamera>()> open = {};
    bool only = false; ///< never the driver
    /// In which a camera that is offered must be linked with us.
    std::chrono::milliseconds linkTime{500};
};

/// Reads frames from a video node, or from PipeWire if it offers the camera: then other programs have the
/// picture at the same time.  If PipeWire fails, the driver takes over, until it offers the camera anew.
///
/// The node is open only while it streams, since an open node keeps many cameras awake.  stop() returns when
/// the driver has released the camera; if the camera is dead, that takes up to five seconds.
class KernelCaptureInput final : public RetryingCaptureInput {
public:
    /// @param path "/dev/video0"
    KernelCaptureInput(std::shared_ptr<CaptureDevice> device, std::string path,
                       std::shared_ptr<V4l2NodeOpener> opener, CaptureInputOptions options,
                       SharedPictures pictures = {});
    ~KernelCaptureInput() override;

private:
    StreamOver streamOnce() override;
    void release() override { shared_.reset(); }
    void setStop(bool stop) override;
    bool waitForStop(std::chrono::milliseconds time) const override { return stop_.waitFor(time); }

    StreamOver streamWithin();

    // From the driver.
    std::optional<StreamOver> streamFromDriver();
    StreamOver startLightEnough(V4l2Node& node, std::unique_ptr<V4l2Stream>& stream);
    std::optional<StreamOver> pump(const V4l2Node& node, V4l2Stream& stream);
    int takeNewest(V4l2Stream& stream, std::optional<V4l2Stream::Frame>& newest);

    // From PipeWire: capture_input_shared.cpp.
    std::optional<StreamOver> streamFromPipewire();
    bool waitForShared(Clock::time_point deadline);
    SharedCamera::State waitWhile(SharedCamera::State state, Clock::time_point deadline);
    SharedCamera::State waitForOffer(Clock::time_point deadline);
    std::optional<StreamOver> leavePipewire(StreamEnd end, const std::string& why);
    StreamOver pumpShared();
    bool deliverShared(const SharedCamera::Frame& frame);
    bool mustLeaveDriver();

    const std::string path_;
    const std::shared_ptr<V4l2NodeOpener> opener_;
    const SharedPictures pictures_;
    WakeEvent stop_;

    // Used by the streaming thread.
    FrameConverter converter_;
    std::unique_ptr<SharedCamera> shared_;
    std::uint64_t failedOffer_ = 0; // not tried again
    std::string saidOfPipewire_;    // the last line, so that it is not repeated
    FrameFormat sharedFormat_;
    bool sharedFramesCame_ = false; // in this run
};

} // namespace tavelo
