// SPDX-License-Identifier: MIT
// A software USB device, seen from the bus.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavelo {

/// The eight bytes that open a control transfer.
struct UsbSetup {
    std::uint8_t bmRequestType = 0;
    std::uint8_t bRequest = 0;
    std::uint16_t wValue = 0;
    std::uint16_t wIndex = 0;
    std::uint16_t wLength = 0;
};

enum class UsbReplyKind : std::uint8_t {
    done,    ///< acknowledged; `data` is the answer to a read
    stall,   ///< the device refuses
    silence, ///< the device does not answer at all; the host's timeout ends the transfer
};

struct UsbReply {
    UsbReplyKind kind = UsbReplyKind::done;
    std::vector<std::uint8_t> data;
};

/// The interface between a host controller and a device.  Thread-safe.
class UsbGadget {
public:
    virtual ~UsbGadget() = default;

    /// Descriptors exactly as GET_DESCRIPTOR returns them.
    virtual std::span<const std::uint8_t> deviceDescriptor() const = 0;
    virtual std::span<const std::uint8_t> configurationDescriptor() const = 0;

    /// Answers a control transfer on endpoint 0, standard requests included.
    /// @param out the data stage of a write, empty for a read
    virtual UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out) = 0;

    /// Fills one packet of an IN endpoint other than 0.
    /// @param endpoint its address, direction bit included
    /// @return bytes of the packet, which may be 0; nothing if the endpoint has no packet to send now
    virtual std::optional<std::size_t> in(std::uint8_t endpoint, std::span<std::uint8_t> packet) = 0;
};

} // namespace tavelo
