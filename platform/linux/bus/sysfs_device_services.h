// SPDX-License-Identifier: MIT
// The way from the kernel's list of USB devices to an interface.  Only its end differs from transport to
// transport.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// Opens an interface of a device; null where it cannot.
using SysfsInterfaceOpener =
    std::function<std::shared_ptr<UsbInterface>(const SysfsUsbDevice& device, std::uint8_t interfaceNumber)>;

/// Every USB device, by bus and port.  Nothing is opened on the way to an interface, so no rights are needed:
/// a device that vanished gives no plug-in, one whose descriptors cannot be read no interfaces.
/// The services, devices and interface services are thread-bound and may outlive everything but what the
/// opener holds.
std::vector<std::unique_ptr<UsbDeviceService>> sysfsDeviceServices(const std::filesystem::path& sysfs,
                                                                   const SysfsInterfaceOpener& opener);

} // namespace tavelo
