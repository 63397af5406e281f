// SPDX-License-Identifier: MIT
// Where the bus prober takes descriptors from.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "platform/linux/bus/sysfs_usb.h"

namespace tavelo {

/// Descriptors of a moment's devices, by bus number and device number.
using UsbDescriptorSnapshot = std::map<std::pair<std::uint8_t, std::uint8_t>, UsbDescriptors>;

/// Thread-bound to whoever made it.
class UsbDescriptorSource {
public:
    virtual ~UsbDescriptorSource() = default;

    virtual UsbDescriptorSnapshot snapshot() = 0;
};

/// libusb's cached descriptors; opens no device.  Null where libusb finds no USB in this machine.
std::unique_ptr<UsbDescriptorSource> makeLibusbDescriptorSource();

} // namespace tavelo
