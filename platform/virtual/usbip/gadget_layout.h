// SPDX-License-Identifier: MIT
// What a host controller needs to know from a device's descriptors.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/usbip/usbip_protocol.h"

namespace tavelo::usbip {

enum class EndpointType : std::uint8_t { control = 0, isochronous = 1, bulk = 2, interrupt = 3 };

struct Endpoint {
    std::uint8_t address = 0; ///< with the direction bit
    EndpointType type = EndpointType::control;
    std::uint16_t packetSize = 0; ///< bytes of one transaction
    std::uint32_t interval = 1;   ///< for isochronous and interrupt endpoints, in microframes of 125 us
};

/// Interfaces in their first setting, and the endpoints of all settings, each once.
struct GadgetLayout {
    std::uint8_t configurationValue = 0;
    std::vector<InterfaceClass> interfaces;
    std::vector<Endpoint> endpoints;

    std::optional<Endpoint> find(std::uint8_t address) const;
};

/// Malformed descriptors give an incomplete layout.
GadgetLayout layoutOf(std::span<const std::uint8_t> configurationDescriptor);

/// The device's entry in the list of exported devices.
/// @param busId bus number and port number, such as "1-1"
ExportedDevice describe(const UsbGadget& gadget, const std::string& busId);

} // namespace tavelo::usbip
