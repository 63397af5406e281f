// SPDX-License-Identifier: MIT
// The two halves of the transport that takes cameras from the kernel's driver.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/linux/bus/udev_events.h"
#include "platform/linux/usb/device_list.h"
#include "platform/linux/usb/usb_camera_claims.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// What both halves depend on.
struct UsbTransport {
    std::shared_ptr<UsbCameraClaims> claims;
    /// Reports devices that come and go; may give null.  Called once for each listener.
    std::function<std::unique_ptr<UdevEventSource>()> hotplugEvents;
    std::filesystem::path sysfs = "/sys";
    std::shared_ptr<ThreadPriority> priority = {}; ///< may be null
};

/// Controls: opening an interface takes its camera, and every request goes to the camera as it is.
///
/// Thread-bound to the main thread, as are the services and devices it returns; the interfaces are
/// thread-safe.  What it returns may outlive it, but not `diagnostics`.
std::unique_ptr<UsbPlatform> makeUsbTransportUsbPlatform(const UsbTransport& transport,
                                                         Diagnostics& diagnostics);

/// Pictures: an input takes its camera while it streams.  Called on the main thread, on which observers are
/// notified later.
std::unique_ptr<CapturePlatform> makeUsbTransportCapturePlatform(const UsbTransport& transport,
                                                                 MainQueue& mainQueue,
                                                                 UsbInputMaker makeInput);

} // namespace tavelo
