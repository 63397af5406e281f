// SPDX-License-Identifier: MIT
// Transfers of an endpoint, which carry a camera's pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/error.h"

namespace tavelo {

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
    virtual ErrorCode submit() = 0;

    /// Ends the transfer soon if it is under way; its end is still reported.
    virtual void cancel() = 0;
};

class UsbTransferListener {
public:
    virtual ~UsbTransferListener() = default;

    /// A transfer has ended; its packets are valid during the call.  Called on a thread that handles
    /// events, ours or another one that uses the same context; never two at once.
    /// @param status `refused`: the endpoint has halted
    virtual void transferEnded(UsbTransfer& transfer, ErrorCode status,
                               std::span<const UsbPacket> packets) noexcept = 0;
};

} // namespace tavelo
