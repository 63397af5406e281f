// SPDX-License-Identifier: MIT
// A session's input on an opened USB camera.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/capture.h"
#include "platform/common/stream_retry_policy.h"
#include "platform/common/stream_trouble.h"
#include "platform/diagnostics.h"
#include "platform/error.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/linux/usb/stream/frame_mailbox.h"
#include "platform/linux/usb/stream/usb_stream.h"

namespace tavelo {

struct PortStreamSetup {
    /// Opens the camera; null with the reason.  Called on the stream's thread.
    std::function<std::shared_ptr<UsbHandle>(Error&)> connect;
    std::uint8_t streamingInterface = 0;
    std::vector<std::uint8_t> configurationDescriptor; ///< with all that follows it
    Diagnostics& diagnostics;                          ///< must outlive the input
    CaptureFormatRequest request;
    StreamPatience patience;
    /// Who holds a busy device, as busyText() says it.  Any thread; may be empty.
    std::function<std::string()> whoHolds = {};
    std::shared_ptr<ThreadPriority> priority = {}; ///< of both threads; may be null
};

///     connect -> negotiate -> stream --(silent, busy, failed: wait)--> connect ...
///                                    --(unplugged)--> rest until stop
///
/// Two threads: one handles the bus's events and assembles frames, the other does everything else, so that
/// a picture that is slow to decode causes no loss of data.
class PortStreamInput final : public CaptureDeviceInput {
public:
    PortStreamInput(std::shared_ptr<CaptureDevice> device, PortStreamSetup setup);
    ~PortStreamInput() override;

    std::shared_ptr<CaptureDevice> device() const override { return device_; }
    void start(FrameSink& sink) override;
    void stop() override;
    Error trouble() const override { return trouble_.get(); }

private:
    void run(FrameSink& sink);
    UsbStreamOver streamOnce(std::shared_ptr<UsbHandle>& camera, FrameSink& sink);
    UsbStreamOver streamWithin(std::shared_ptr<UsbHandle>& camera, FrameSink& sink);
    UsbStreamOver pump(FrameSink& sink);
    UsbStreamOver silent() const;
    bool handle(const FrameMailbox::Frame& frame, FrameSink& sink);
    void report(UsbStreamOver over);
    void report(const std::string& reason);

    const std::shared_ptr<CaptureDevice> device_;
    const PortStreamSetup setup_;
    FrameMailbox mailbox_;
    StreamTrouble trouble_;
    std::thread thread_;

    // Used by the streaming thread.
    StreamRetryPolicy policy_;
    FrameConverter converter_;
    std::chrono::nanoseconds lastTime_{0};
    int droppedInARow_ = 0;
};

} // namespace tavelo
