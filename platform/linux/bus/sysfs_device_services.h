// SPDX-License-Identifier: MIT
// From the kernel's list of USB devices to an interface.  Only opening the interface differs between
// transports.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// Opens an interface of a device; null if it cannot.
using SysfsInterfaceOpener =
    std::function<std::shared_ptr<UsbInterface>(const SysfsUsbDevice& device, std::uint8_t interfaceNumber)>;

/// Every USB device, by bus and port.  Nothing is opened before the interface itself, so no rights are
/// needed: a device that vanished has no plug-in, one with unreadable descriptors has no interfaces.
/// The services, devices and interface services are thread-bound.  They may outlive everything except what
/// the opener holds.
std::vector<std::unique_ptr<UsbDeviceService>> sysfsDeviceServices(const std::filesystem::path& sysfs,
                                                                   const SysfsInterfaceOpener& opener);

} // namespace tavelo
