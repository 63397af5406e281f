// SPDX-License-Identifier: MIT
// USB devices and video nodes as listed in the kernel's sysfs tree; no rights needed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/usb_interface.h"

namespace tavelo {

// Devices vanish while they are read: anything missing, truncated or unreadable makes an entry absent or
// empty, and never throws.  All functions are reentrant and only read.  `sysfs` is the root of the tree,
// "/sys" except in tests.

/// A USB device other than a root hub.
struct SysfsUsbDevice {
    std::filesystem::path path; ///< its folder, links resolved
    std::string name;           ///< the kernel's name: "1-4.2"
    std::uint32_t locationID = 0;
    std::uint16_t vendorID = 0;
    std::uint16_t productID = 0;
    std::uint8_t busNumber = 0;
    std::uint8_t deviceNumber = 0;
    std::string product; ///< the product string, or empty

    friend bool operator==(const SysfsUsbDevice&, const SysfsUsbDevice&) = default;
};

/// The camera behind a video node.
struct UsbIdentity {
    std::uint32_t locationID = 0;
    std::uint16_t vendorID = 0;
    std::uint16_t productID = 0;
    std::uint8_t interfaceNumber = 0; ///< of the video-control interface
    /// False for every video function of a device except its first; its capture identifier then ends in the
    /// interface's number.
    bool isFirstVideoFunction = true;
    std::string productName; ///< the product string, or empty
    std::string deviceName;  ///< the kernel's name of the USB device: "1-4.2"

    /// The unique identifier of the capture device.
    std::string captureIdentifier() const;
};

/// Every USB device, by bus and port, so that the order is the same each time.
std::vector<SysfsUsbDevice> usbDevices(const std::filesystem::path& sysfs);

/// Nothing if the device is gone.
std::optional<UsbDescriptors> usbDescriptors(const SysfsUsbDevice& device);

/// In megabits per second; 0 if the kernel does not say, or less than one.
std::uint32_t usbSpeed(const SysfsUsbDevice& device);

/// @param node "video0", "/dev/video0" or a node's folder in sysfs
/// @return nothing for a node that is not on the USB bus (a loopback device, a built-in sensor)
std::optional<UsbIdentity> usbIdentityOfVideoNode(const std::filesystem::path& sysfs, std::string_view node);

/// The names ("video0") of an interface's video nodes in the driver's order: the capturing node before the
/// one for metadata.
std::vector<std::string> videoNodesOfInterface(const SysfsUsbDevice& device, std::uint8_t interfaceNumber);

} // namespace tavelo
