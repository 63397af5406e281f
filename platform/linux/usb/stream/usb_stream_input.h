// SPDX-License-Identifier: MIT
// A USB camera as the input of a session, without the kernel's video driver.
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

/// A camera opened for streaming.  Handle and context are valid as long as the claim is held; no driver of
/// the kernel's holds the streaming interface meanwhile.
struct UsbStreamAccess {
    std::shared_ptr<void> claim;
    libusb_context* context = nullptr;
    libusb_device_handle* handle = nullptr; ///< null: it could not be opened
    std::uint8_t streamingInterface = 0;
    std::vector<std::uint8_t> configurationDescriptor; ///< with all that follows it
};

struct UsbStreamSetup {
    /// Called on the stream's thread each time that streaming starts, also after trouble; what it gives is
    /// dropped on that thread when the stream stops.  A null handle comes with the reason; a device that is
    /// gone ends the input's efforts until its next start.
    std::function<UsbStreamAccess(Error&)> acquire;
    Diagnostics& diagnostics; ///< must outlive the input
    CaptureFormatRequest request;
    std::string node = {};                         ///< "/dev/bus/usb/001/005", to say who else holds it
    std::shared_ptr<ThreadPriority> priority = {}; ///< of the stream's threads; may be null
};

/// An input that streams on threads of its own, from start to stop, whatever the camera does meanwhile; it
/// behaves as the V4L2 input does.  stop() returns when the camera is off and the claim dropped; one that
/// waits for a dead camera takes up to five seconds a request.
std::unique_ptr<CaptureDeviceInput> makeUsbStreamInput(std::shared_ptr<CaptureDevice> device,
                                                       UsbStreamSetup setup);

} // namespace tavelo
