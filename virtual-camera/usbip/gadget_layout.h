// SPDX-License-Identifier: MIT
// What a host controller has to know of a device's descriptors.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "virtual-camera/firmware/usb_gadget.h"
#include "virtual-camera/usbip/usbip_protocol.h"

namespace tavelo::usbip {

enum class EndpointType : std::uint8_t { control = 0, isochronous = 1, bulk = 2, interrupt = 3 };

struct Endpoint {
    std::uint8_t address = 0; ///< with the direction bit
    EndpointType type = EndpointType::control;
    std::uint16_t packetSize = 0; ///< bytes of one transaction
    std::uint32_t interval = 1;   ///< of isochronous and interrupt endpoints, in microframes of 125 us
};

/// Interfaces in their first setting, and every endpoint of any setting once.
struct GadgetLayout {
    std::uint8_t configurationValue = 0;
    std::vector<InterfaceClass> interfaces;
    std::vector<Endpoint> endpoints;

    std::optional<Endpoint> find(std::uint8_t address) const;
};

/// Reads what can be read; broken descriptors give a layout with less in it.
GadgetLayout layoutOf(std::span<const std::uint8_t> configurationDescriptor);

/// The device as the list of exported devices shows it.
/// @param busId "1-1": the number of the bus, then that of the port
ExportedDevice describe(const UsbGadget& gadget, const std::string& busId);

} // namespace tavelo::usbip
