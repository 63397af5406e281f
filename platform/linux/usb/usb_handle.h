// SPDX-License-Identifier: MIT
// The few calls of libusb that a camera's controls need, behind an interface that a test can stand in for.
#pragma once

#include <libusb.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <tuple>

namespace tavelo {

/// Where a device hangs at the moment: another number for each time that it is plugged in.
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

/// The setup packet of a control transfer without the length, which the data has.
struct UsbSetupPacket {
    std::uint8_t requestType = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
};

/// An opened device.  Results are libusb's: its error codes, LIBUSB_SUCCESS, or a number of bytes.
/// Thread-safe as libusb's handles are; destroying it closes the device.
class UsbHandle {
public:
    virtual ~UsbHandle() = default;

    /// Blocks until the device answered, is gone, or the time is over.
    /// @return bytes moved, or an error
    virtual int controlTransfer(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                                std::chrono::milliseconds patience) = 0;

    /// LIBUSB_ERROR_NOT_FOUND: no driver holds the interface.
    virtual int detachKernelDriver(std::uint8_t interface) = 0;
    /// Lets the kernel look for a driver; blocks while that one meets the device.
    virtual int attachKernelDriver(std::uint8_t interface) = 0;
    virtual int claimInterface(std::uint8_t interface) = 0;
    virtual int releaseInterface(std::uint8_t interface) = 0;

    /// For whoever streams; null behind a test's handle.
    virtual libusb_device_handle* native() = 0;
};

/// Thread-safe.
class UsbHandleOpener {
public:
    virtual ~UsbHandleOpener() = default;

    /// Null with libusb's error where it cannot be opened.
    virtual std::unique_ptr<UsbHandle> open(const UsbAddress& address, int& error) = 0;

    /// What the handles belong to; null where they are a test's.
    virtual libusb_context* context() = 0;
};

} // namespace tavelo
