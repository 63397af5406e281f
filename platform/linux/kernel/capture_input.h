// SPDX-License-Identifier: MIT
// A V4L2 camera as a session's input.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture.h"
#include "platform/common/retrying_capture_input.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/linux/v4l2/v4l2_stream.h"
#include "platform/linux/wake_event.h"

namespace tavelo {

/// Reads frames from a video node.  The node is open only while it streams, since an open node keeps many
/// cameras awake.  stop() returns when the driver has released the camera; if the camera is dead, that takes
/// up to five seconds.
class KernelCaptureInput final : public RetryingCaptureInput {
public:
    /// @param path "/dev/video0"
    KernelCaptureInput(std::shared_ptr<CaptureDevice> device, std::string path,
                       std::shared_ptr<V4l2NodeOpener> opener, CaptureInputOptions options);
    ~KernelCaptureInput() override;

private:
    StreamOver streamOnce() override;
    void setStop(bool stop) override;
    bool waitForStop(std::chrono::milliseconds time) const override { return stop_.waitFor(time); }

    StreamOver streamWithin();
    StreamOver startLightEnough(V4l2Node& node, std::unique_ptr<V4l2Stream>& stream);
    StreamOver pump(const V4l2Node& node, V4l2Stream& stream);
    int takeNewest(V4l2Stream& stream, std::optional<V4l2Stream::Frame>& newest);

    const std::string path_;
    const std::shared_ptr<V4l2NodeOpener> opener_;
    WakeEvent stop_;
    FrameConverter converter_; // used by the streaming thread
};

} // namespace tavelo
