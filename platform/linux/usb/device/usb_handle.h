// SPDX-License-Identifier: MIT
// The libusb calls that a camera's controls need, as an interface that tests can replace.
#pragma once

#include <libusb.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <tuple>

namespace tavelo {

/// The address of a plugged-in device; it changes each time the device is plugged in.
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

/// The setup packet of a control transfer without the length, which is that of the data.
struct UsbSetupPacket {
    std::uint8_t requestType = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
};

/// An opened device.  Results are libusb's: an error code, LIBUSB_SUCCESS, or a number of bytes.  As
/// thread-safe as libusb's handles; the destructor closes the device.
class UsbHandle {
public:
    virtual ~UsbHandle() = default;

    /// Blocks until the device answers, is gone, or the time is over.
    /// @return bytes moved, or an error
    virtual int controlTransfer(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                                std::chrono::milliseconds patience) = 0;

    /// LIBUSB_ERROR_NOT_FOUND: no driver holds the interface.
    virtual int detachKernelDriver(std::uint8_t interface) = 0;
    /// Lets the kernel look for a driver; blocks while that driver probes the device.
    virtual int attachKernelDriver(std::uint8_t interface) = 0;
    virtual int claimInterface(std::uint8_t interface) = 0;
    virtual int releaseInterface(std::uint8_t interface) = 0;

    /// For streaming; null in tests.
    virtual libusb_device_handle* native() = 0;
};

/// Thread-safe.
class UsbHandleOpener {
public:
    virtual ~UsbHandleOpener() = default;

    /// Null with libusb's error if it cannot be opened.
    virtual std::unique_ptr<UsbHandle> open(const UsbAddress& address, int& error) = 0;

    /// The context of the handles; null in tests.
    virtual libusb_context* context() = 0;
};

} // namespace tavelo
