// SPDX-License-Identifier: MIT
// Identifiers of places on the USB bus, and of the cameras that are plugged in there.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavelo {

// All functions are pure and reentrant.

/// The place of a root hub in the machine, fit to be compared between two boots.
///
/// Bus numbers of PCI bridges are given out anew at each boot (another card moves them); the device and
/// function numbers along the way are wiring.  "pci0000:00/0000:00:1c.0/0000:03:00.0" becomes
/// "pci0000:00/1c.0/00.0"; what is not a PCI function stays as it is.
/// @param controllerPath the controller's folder in sysfs, from below "devices" on
/// @param ordinal        which of the controller's root hubs, counted from 0 (USB 2 and USB 3 ports are
///                       separate hubs of one controller)
std::string rootHubPlace(std::string_view controllerPath, std::size_t ordinal);

/// The top byte of the locations below each root hub, in the order of `places`; 0x10 to 0xFF.
///
/// Depends on the places alone, in whatever order they come.  Where two places want the same byte the one
/// with the shorter way from the processor keeps it, so a controller that is plugged in (a dock) never takes
/// the byte of a built-in one.  Distinct for up to 240 root hubs.
///
/// No byte is below 0x10: identifiers are also read by their first seven and six digits, and such a reading
/// of one camera must never equal the location of another.
std::vector<std::uint8_t> rootHubBytes(std::span<const std::string> places);

/// The location identifier of a device: the root hub's byte, then its ports from the root hub on.
///
/// One hexadecimal digit a port, left-aligned: root hub 0x14, port 2 is 0x14200000.  A port above 15 takes
/// three digits, 0 and the port in two, which no plain way can equal.  A way that does not fit even so has
/// its 16-bit hash behind two digits 0, which again nothing else has.
std::uint32_t locationIdentifier(std::uint8_t rootHub, std::span<const std::uint8_t> ports);

/// "0x", eight digits of the location, four of the vendor, four of the product, lower case.
/// @param interfaceNumber for every video function of a device but its first: two digits more
std::string captureIdentifier(std::uint32_t location, std::uint16_t vendor, std::uint16_t product,
                              std::optional<std::uint8_t> interfaceNumber = std::nullopt);

} // namespace tavelo
