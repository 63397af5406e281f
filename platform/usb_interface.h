// SPDX-License-Identifier: MIT
// A camera's video-control interface and how to reach it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/camera_inspector.h"
#include "platform/control_watch.h"
#include "platform/error.h"

namespace tavelo {

/// One request on the default control pipe, with its fields as on the wire.
struct UsbControlRequest {
    std::uint8_t bmRequestType = 0;
    std::uint8_t bRequest = 0;
    std::uint16_t wValue = 0;
    std::uint16_t wIndex = 0;
    std::uint16_t wLength = 0;
    /// wLength bytes, owned by the caller; filled by a read.  After a successful write they hold the value
    /// that the device took, if the transport knows it (a driver may round); otherwise they are unchanged.
    std::uint8_t* data = nullptr;
    /// Bytes actually transferred; 0 before the request.
    std::uint32_t bytesDone = 0;

    std::span<std::uint8_t> payload() const { return {data, wLength}; }
};

/// An opened video-control interface.
///
/// Thread-safe: the main thread and a background write of settings may use it at the same time.  Calls block
/// until the device answers or fails, several seconds at worst.  The destructor closes it.
class UsbInterface {
public:
    virtual ~UsbInterface() = default;

    /// Sends one request on pipe 0.
    ///
    /// A stalled *read* counts as answered: no error, bytesDone 0.  So does a write to a control that the
    /// device does not list.  Failures are a refused write, an unplugged device, a timeout, no permission and
    /// a closed interface; any other is `failed`.
    virtual ErrorCode ControlRequest(UsbControlRequest& request) = 0;

    /// Closes for good: every later request returns `closed` without reaching the device.  May be called
    /// twice.
    virtual void USBInterfaceClose() = 0;

    /// The interface's number; also valid when closed.
    virtual std::uint8_t GetInterfaceNumber() const = 0;

    /// Reports changes that are not made through this interface, until it is closed or destroyed.  One watch
    /// at a time.  Null if another one lives, if the interface is closed or its camera gone, and if the
    /// transport does not learn of changes: callers then have to ask the camera now and then.
    virtual std::unique_ptr<ControlWatch> watchControls(const ControlWatchEvents& /*events*/) {
        return nullptr;
    }
};

/// Which interfaces of a device to list.
struct UsbInterfaceMatch {
    static constexpr std::uint16_t any = 0xFFFF;

    std::uint16_t interfaceClass = any;
    std::uint16_t interfaceSubClass = any;
    std::uint16_t interfaceProtocol = any;
    std::uint16_t alternateSetting = any;
};

/// The descriptors of a device as the operating system cached them when it was plugged in.
struct UsbDescriptors {
    std::vector<std::uint8_t> device;        ///< up to 18 bytes
    std::vector<std::uint8_t> configuration; ///< the active one with all that follows it, or empty

    friend bool operator==(const UsbDescriptors&, const UsbDescriptors&) = default;
};

/// What the operating system knows of a device without asking it.
struct UsbDeviceFacts {
    UsbDescriptors descriptors;
    std::string product;     ///< the product string, printable, or empty
    std::uint32_t speed = 0; ///< megabits per second; 0: unknown, or less than one
};

/// A device as the operating system lists it, and the way to its interfaces.
///
///     CreatePlugInInterface --> QueryInterface --> CreateInterfaceIterator --> openInterface
///
/// Any step may fail, since the device may be unplugged at any time.  Reentrant.
class UsbDevice {
public:
    virtual ~UsbDevice() = default;

    /// False if the device cannot be accessed at all: the next one may be the camera.
    [[nodiscard]] virtual bool CreatePlugInInterface() = 0;

    /// False if the device does not answer: there is no point in asking others.
    [[nodiscard]] virtual bool QueryInterface() = 0;

    /// The root hub's byte, then one hexadecimal digit per port, left-aligned.
    virtual std::uint32_t GetLocationID() const = 0;

    /// The numbers of the matching interfaces, in the order of the device's descriptors; nothing if these
    /// cannot be read.
    virtual std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) = 0;

    /// Null if it cannot be opened (no permission, unplugged, no driver to go through).
    virtual std::shared_ptr<UsbInterface> openInterface(std::uint8_t number) = 0;

    /// Nothing if the device is gone.
    virtual std::optional<UsbDeviceFacts> facts() = 0;

    /// Opens a video-control interface only to read from it.  Null as for openInterface.
    virtual std::unique_ptr<CameraInspector> openInspector(std::uint8_t number) = 0;
};

} // namespace tavelo
