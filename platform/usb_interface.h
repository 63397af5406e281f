// SPDX-License-Identifier: MIT
// A camera's video-control interface, and the way to it: device, location, interface.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tavelo {

enum class UsbStatus : std::uint8_t {
    success = 0,
    notOpen, ///< USBInterfaceClose was called
    gone,    ///< the device was unplugged
    timeout, ///< the device did not answer in time
    refused, ///< the device refused a write (it stalled the request)
    denied,  ///< we lack the rights
    failed,  ///< any other fault of the link
};

/// One request on the default control pipe, field by field as it goes over the wire.
struct UsbControlRequest {
    std::uint8_t bmRequestType = 0;
    std::uint8_t bRequest = 0;
    std::uint16_t wValue = 0;
    std::uint16_t wIndex = 0;
    std::uint16_t wLength = 0;
    /// wLength bytes, owned by the caller; filled by a read.  After a successful write they hold the value
    /// that the device took, if the transport knows it (a driver may round); otherwise they are left alone.
    std::uint8_t* data = nullptr;
    /// Bytes that really moved; 0 before the request.
    std::uint32_t bytesDone = 0;

    std::span<std::uint8_t> payload() const { return {data, wLength}; }
};

/// An opened video-control interface.
///
/// Thread-safe: the panel's main thread and a background push of settings may use one interface at once.
/// Calls block until the device answered or failed, several seconds at the worst.  Destroying it closes it.
class UsbInterface {
public:
    virtual ~UsbInterface() = default;

    /// Sends one request on pipe 0.
    ///
    /// A device that stalls a *read* has answered: success with bytesDone 0.  So is a write to a control that
    /// the device does not list: nothing was there to refuse it.  A refused write, a vanished device, a
    /// timeout and a closed interface are failures.
    virtual UsbStatus ControlRequest(UsbControlRequest& request) = 0;

    /// Closes for good: every later request returns notOpen without reaching the device.  May be called
    /// twice.
    virtual void USBInterfaceClose() = 0;

    /// The interface's number; answered also when closed.
    virtual std::uint8_t GetInterfaceNumber() const = 0;
};

/// An interface that a device's iterator found, not opened yet.
class UsbInterfaceService {
public:
    virtual ~UsbInterfaceService() = default;

    virtual std::uint8_t GetInterfaceNumber() const = 0;

    /// Null where it cannot be opened (rights, gone, no driver to speak through).
    virtual std::shared_ptr<UsbInterface> openInterface() = 0;
};

/// Which interfaces of a device to list.
struct UsbInterfaceMatch {
    static constexpr std::uint16_t any = 0xFFFF;

    std::uint16_t interfaceClass = any;
    std::uint16_t interfaceSubClass = any;
    std::uint16_t interfaceProtocol = any;
    std::uint16_t alternateSetting = any;
};

/// A USB device that answers questions.
class UsbDevice {
public:
    virtual ~UsbDevice() = default;

    /// 32 bits: the root hub's byte, then one hexadecimal digit a port, left-aligned.
    virtual std::uint32_t GetLocationID() const = 0;

    /// The matching interfaces in the order of the device's descriptors; nothing where they cannot be read.
    virtual std::optional<std::vector<std::unique_ptr<UsbInterfaceService>>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) = 0;
};

/// The first of the two steps that lead from a listed device to one that answers questions.
class UsbDevicePlugIn {
public:
    virtual ~UsbDevicePlugIn() = default;

    /// Null where the device does not answer.
    virtual std::unique_ptr<UsbDevice> QueryInterface() = 0;
};

/// A device as the operating system lists it.
class UsbDeviceService {
public:
    virtual ~UsbDeviceService() = default;

    /// Null where the device may not be talked to at all.
    virtual std::unique_ptr<UsbDevicePlugIn> CreatePlugInInterface() = 0;
};

} // namespace tavelo
