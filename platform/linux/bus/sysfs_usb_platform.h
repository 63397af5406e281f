// SPDX-License-Identifier: MIT
// USB as the kernel shows it to any user.  Only opening an interface differs between backends.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/bus/udev_events.h"
#include "platform/usb_platform.h"

namespace tavelo {

struct SysfsUsbOptions {
    std::filesystem::path sysfs = "/sys";
    /// Reports USB devices that come and go; may give null.  Called once for each prober.
    std::function<std::unique_ptr<UdevEventSource>()> hotplugEvents;
    /// Null if the interface cannot be opened.
    std::function<std::shared_ptr<UsbInterface>(const SysfsUsbDevice& device, std::uint8_t interfaceNumber)>
        openInterface;
    /// Null if the interface cannot be opened.
    std::function<std::unique_ptr<CameraInspector>(const SysfsUsbDevice& device,
                                                   std::uint8_t interfaceNumber)>
        openInspector = {};
};

/// Lists every USB device, by bus and port.  Nothing is opened before the interface itself, so no permission
/// is needed: a device that vanished has no plug-in, one with unreadable descriptors has no interfaces.  The
/// devices may outlive everything except what `openInterface` and `openInspector` hold.
std::unique_ptr<UsbPlatform> makeSysfsUsbPlatform(SysfsUsbOptions options);

} // namespace tavelo
