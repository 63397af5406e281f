// SPDX-License-Identifier: MIT
// Identifiers for places on the USB bus and for the cameras plugged in there.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavelo {

// All functions are pure and reentrant.

/// Names the place of a root hub in the machine; the name is stable across reboots.
///
/// PCI bus numbers are assigned at each boot (adding a card changes them); device and function numbers are
/// fixed by the wiring.  "pci0000:00/0000:00:1c.0/0000:03:00.0" becomes "pci0000:00/1c.0/00.0"; components
/// that are not PCI functions stay as they are.
/// @param controllerPath the controller's folder in sysfs, relative to "devices"
/// @param ordinal        which of the controller's root hubs, counted from 0 (USB 2 and USB 3 ports are
///                       separate hubs of one controller)
std::string rootHubPlace(std::string_view controllerPath, std::size_t ordinal);

/// The top byte of the locations below each root hub, in the order of `places`; 0x10 to 0xFF.
///
/// Depends on the places alone, not on their order.  If two places map to the same byte, the one closer to
/// the processor keeps it, so a controller that is plugged in (a dock) never takes the byte of a built-in
/// one.  Distinct for up to 240 root hubs.
///
/// No byte is below 0x10: identifiers are also parsed by their first seven and six digits, and such a shorter
/// reading of one camera must never equal the location of another.
std::vector<std::uint8_t> rootHubBytes(std::span<const std::string> places);

/// The location identifier of a device: the root hub's byte, then the ports from the root hub on.
///
/// One hexadecimal digit per port, left-aligned: root hub 0x14, port 2 is 0x14200000.  A port above 15 takes
/// three digits: 0, then the port in two.  A path that is still too long is encoded as two digits 0 and its
/// 16-bit hash.  The three forms never collide with each other.
std::uint32_t locationIdentifier(std::uint8_t rootHub, std::span<const std::uint8_t> ports);

/// "0x", eight digits of the location, four of the vendor, four of the product, lower case.
/// @param interfaceNumber set for all video functions of a device except the first: adds two digits
std::string captureIdentifier(std::uint32_t location, std::uint16_t vendor, std::uint16_t product,
                              std::optional<std::uint8_t> interfaceNumber = std::nullopt);

} // namespace tavelo
