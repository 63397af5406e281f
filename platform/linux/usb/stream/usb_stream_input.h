// SPDX-License-Identifier: MIT
// A USB camera as a session's input, without the kernel's video driver.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/error.h"
#include "platform/linux/usb/device/usb_handle.h"

namespace tavelo {

struct UsbStreamSetup {
    /// Takes the camera from the kernel's driver, for as long as the result lives.  Called on the stream's
    /// thread each time streaming starts, also after a failure; the result is dropped on that thread when
    /// the stream stops.  Null comes with the reason; if the device is gone, the input does nothing until
    /// its next start.
    std::function<std::shared_ptr<UsbHandle>(Error&)> acquire;
    std::uint8_t streamingInterface = 0;
    std::vector<std::uint8_t> configurationDescriptor; ///< with all that follows it
    Diagnostics& diagnostics;                          ///< must outlive the input
    CaptureFormatRequest request;
    std::string node = {};                         ///< "/dev/bus/usb/001/005", to say who else holds it
    std::shared_ptr<ThreadPriority> priority = {}; ///< of the stream's threads; may be null
};

/// An input that streams on threads of its own from start to stop and recovers from failures as the V4L2
/// input does.  stop() returns when the camera is off and the claim dropped; if the camera is dead, that
/// takes up to five seconds a request.
std::unique_ptr<CaptureDeviceInput> makeUsbStreamInput(std::shared_ptr<CaptureDevice> device,
                                                       UsbStreamSetup setup);

} // namespace tavelo
