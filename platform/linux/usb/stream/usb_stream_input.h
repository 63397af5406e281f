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

struct libusb_context;
struct libusb_device_handle;

namespace tavelo {

/// A camera opened for streaming.  Handle and context are valid as long as the claim is held; meanwhile no
/// kernel driver holds the streaming interface.
struct UsbStreamAccess {
    std::shared_ptr<void> claim;
    libusb_context* context = nullptr;
    libusb_device_handle* handle = nullptr; ///< null: it could not be opened
    std::uint8_t streamingInterface = 0;
    std::vector<std::uint8_t> configurationDescriptor; ///< with all that follows it
};

struct UsbStreamSetup {
    /// Called on the stream's thread each time streaming starts, also after a failure; the result is
    /// dropped on that thread when the stream stops.  A null handle comes with the reason; if the device is
    /// gone, the input does nothing until its next start.
    std::function<UsbStreamAccess(Error&)> acquire;
    Diagnostics& diagnostics; ///< must outlive the input
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
