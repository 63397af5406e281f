// SPDX-License-Identifier: MIT
// The backend that takes the cameras from the kernel's driver.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "platform/backend.h"
#include "platform/linux/bus/udev_events.h"
#include "platform/linux/usb/usb_camera_claims.h"

namespace tavelo {

/// The machine; tests pass a bus of their own.
struct UsbBackendOptions {
    std::shared_ptr<UsbCameraClaims> claims;
    /// Reports devices that come and go; may give null.  Called once for each listener.
    std::function<std::unique_ptr<UdevEventSource>()> hotplugEvents;
    std::filesystem::path sysfs = "/sys";
};

/// Opening a control interface takes its camera, and every request goes to the camera as it is.  An input
/// takes its camera while it streams.
///
/// Neither half if libusb finds no USB, or if a plugged-in camera may not be opened.  Main thread.
Backend makeUsbBackend(const BackendOptions& options);

/// Never fails.
Backend makeUsbBackend(const BackendOptions& options, const UsbBackendOptions& machine);

} // namespace tavelo
