// SPDX-License-Identifier: MIT
// A USB camera as a session's input, without the kernel's video driver.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/capture.h"
#include "platform/common/retrying_capture_input.h"
#include "platform/error.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/linux/usb/stream/frame_mailbox.h"

namespace tavelo {

/// The camera that an input streams from.
struct UsbStreamSource {
    /// Takes the camera from the kernel's driver for as long as the result lives; null with the reason.
    /// Called on the stream's thread when streaming starts, and again after a failure; the result is dropped
    /// on that thread.
    std::function<std::shared_ptr<UsbHandle>(Error&)> open;
    std::uint8_t streamingInterface = 0;
    std::vector<std::uint8_t> configurationDescriptor; ///< with all that follows it
};

/// Holds its camera only while it streams.  stop() returns when the camera is off and given back; if it is
/// dead, that takes up to five seconds a request.
///
/// Two threads: one handles the bus's events and assembles frames, the other does everything else, so that
/// a picture that is slow to decode causes no loss of data.
class UsbCaptureInput final : public RetryingCaptureInput {
public:
    UsbCaptureInput(const std::shared_ptr<CaptureDevice>& device, UsbStreamSource source,
                    CaptureInputOptions options);
    ~UsbCaptureInput() override;

private:
    StreamOver streamOnce() override;
    void release() override { camera_.reset(); }
    void setStop(bool stop) override;
    bool waitForStop(std::chrono::milliseconds time) const override { return mailbox_.waitForStop(time); }

    StreamOver attempt();
    StreamOver streamWithin();
    StreamOver pump();
    StreamOver silent() const;

    const UsbStreamSource source_;
    FrameMailbox mailbox_;

    // Used by the streaming thread.
    std::shared_ptr<UsbHandle> camera_;
    FrameConverter converter_;
};

} // namespace tavelo
