// SPDX-License-Identifier: MIT
// An opened USB device: its interfaces, requests and transfers.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/error.h"
#include "platform/linux/usb/device/usb_address.h"
#include "platform/linux/usb/device/usb_transfer.h"

namespace tavelo {

/// How long a camera may take to answer a class request.
inline constexpr std::chrono::seconds controlPatience{1};

/// The setup packet of a control transfer without the length, which is that of the data.
struct UsbSetupPacket {
    std::uint8_t requestType = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;

    friend bool operator==(const UsbSetupPacket&, const UsbSetupPacket&) = default;
};

struct UsbResult {
    ErrorCode code = ErrorCode::none;
    std::size_t bytes = 0; ///< moved
};

/// An opened device.  Thread-safe, but the alternate settings of an interface are for one thread, that of
/// its stream.  The destructor closes the device.
///
/// Common to all calls: `refused` if the device stalls, `timeout`, `gone`, `denied`, `busy` if another
/// program or driver holds the interface, `failed` for any other fault.  An Error's text is for people.
class UsbHandle {
public:
    virtual ~UsbHandle() = default;

    /// Blocks until the device answers, is gone, or the time is over.
    virtual UsbResult request(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                              std::chrono::milliseconds patience) = 0;

    /// `invalid`: no driver holds the interface.
    virtual Error detachKernelDriver(std::uint8_t interface) = 0;
    /// Lets the kernel look for a driver; blocks while that driver probes the device.  `busy`: a driver has
    /// the interface; `invalid`: no driver wants it.
    virtual Error attachKernelDriver(std::uint8_t interface) = 0;
    /// `invalid`: the device has no such interface.
    virtual Error claimInterface(std::uint8_t interface) = 0;
    virtual void releaseInterface(std::uint8_t interface) = 0;

    /// `invalid`: the interface has no such setting, or is not claimed.
    virtual ErrorCode setAlternate(std::uint8_t interface, std::uint8_t alternate) = 0;
    virtual ErrorCode clearHalt(std::uint8_t endpoint) = 0;

    /// Null if memory is short.  The listener must outlive the transfer, and the handle too.
    virtual std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                                      UsbTransferListener& listener) = 0;

    /// Reports ended transfers to their listeners; returns after the first ones, or when the time is over.
    virtual ErrorCode handleEvents(std::chrono::milliseconds atMost) = 0;
};

/// Thread-safe.
class UsbHandleOpener {
public:
    virtual ~UsbHandleOpener() = default;

    /// Null with the reason if the device cannot be opened.
    virtual std::unique_ptr<UsbHandle> open(const UsbAddress& address, Error& error) = 0;
};

} // namespace tavelo
