// SPDX-License-Identifier: MIT
// What streaming needs from a USB device: requests, alternate settings, transfers.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace tavelo {

enum class UsbPortStatus : std::uint8_t {
    ok,
    stalled,  ///< the device refused
    timedOut, ///< the device did not answer
    gone,     ///< the device was unplugged
    busy,     ///< another program or driver has it
    denied,   ///< we lack the rights
    failed,   ///< any other fault of the link
};

/// A class request to the streaming interface.
struct UsbStreamRequest {
    std::uint8_t code = 0; ///< bRequest; the direction follows from its top bit
    std::uint8_t selector = 0;
    std::span<std::uint8_t> data; ///< written, or filled
};

/// One packet of a finished transfer; for a bulk transfer, all of it.
struct UsbPacket {
    std::span<const std::uint8_t> bytes;
    bool damaged = false; ///< bytes are missing or wrong
};

/// Fixed for the lifetime of a transfer.
struct UsbTransferShape {
    std::uint8_t endpoint = 0;
    bool isochronous = false;
    std::uint32_t packetSize = 0;
    std::uint32_t packets = 1; ///< bulk: 1

    std::size_t length() const { return std::size_t{packetSize} * packets; }
};

/// A transfer with its buffer.  Must not be destroyed while it is under way.
class UsbTransfer {
public:
    virtual ~UsbTransfer() = default;

    /// Submits the transfer; from then on it ends exactly once.  May be called while its end is reported.
    virtual UsbPortStatus submit() = 0;

    /// Ends the transfer soon if it is under way; its end is still reported.
    virtual void cancel() = 0;
};

class UsbTransferListener {
public:
    virtual ~UsbTransferListener() = default;

    /// A transfer has ended; its packets are valid during the call.  Called on a thread that handles
    /// events, ours or another one that uses the same context; never two at once.
    virtual void transferEnded(UsbTransfer& transfer, UsbPortStatus status,
                               std::span<const UsbPacket> packets) noexcept = 0;
};

/// An opened device, for one of its streaming interfaces.  Requests and settings are thread-bound to the
/// stream's thread; transfers may be submitted, cancelled and waited for on any thread.
class UsbStreamPort {
public:
    virtual ~UsbStreamPort() = default;

    /// @param done number of bytes read
    virtual UsbPortStatus request(const UsbStreamRequest& request, std::size_t& done) = 0;
    virtual UsbPortStatus setAlternate(std::uint8_t alternate) = 0;
    virtual UsbPortStatus clearHalt(std::uint8_t endpoint) = 0;

    /// Null if memory is short.  The listener must outlive the transfer, and the port too.
    virtual std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                                      UsbTransferListener& listener) = 0;

    /// Reports ended transfers to their listeners; returns after the first ones, or when the time is over.
    virtual UsbPortStatus handleEvents(std::chrono::milliseconds atMost) = 0;
};

} // namespace tavelo
