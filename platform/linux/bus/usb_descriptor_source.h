// SPDX-License-Identifier: MIT
// Source of descriptors for the bus prober.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "platform/linux/bus/sysfs_usb.h"

namespace tavelo {

/// Descriptors of the devices present at one moment, by bus number and device number.
using UsbDescriptorSnapshot = std::map<std::pair<std::uint8_t, std::uint8_t>, UsbDescriptors>;

/// Thread-bound to whoever made it.
class UsbDescriptorSource {
public:
    virtual ~UsbDescriptorSource() = default;

    virtual UsbDescriptorSnapshot snapshot() = 0;
};

/// libusb's cached descriptors; opens no device.  Null if libusb finds no USB on this machine.
std::unique_ptr<UsbDescriptorSource> makeLibusbDescriptorSource();

} // namespace tavelo
