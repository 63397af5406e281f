// SPDX-License-Identifier: MIT
// The address of a USB device.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>

namespace tavelo {

/// Of a plugged-in device; it changes each time the device is plugged in.
struct UsbAddress {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;

    /// "/dev/bus/usb/001/005"
    std::string path() const;

    friend bool operator==(const UsbAddress&, const UsbAddress&) = default;
    friend bool operator<(const UsbAddress& a, const UsbAddress& b) {
        return std::tie(a.bus, a.device) < std::tie(b.bus, b.device);
    }
};

} // namespace tavelo
