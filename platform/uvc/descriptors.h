// SPDX-License-Identifier: MIT
// What a camera's USB descriptors say about its controls.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/bus_prober.h"

namespace tavelo {

// Descriptors come from the device and are hostile input: every function here accepts any bytes, reads
// nothing outside its spans, ends after one pass and uses what it can of malformed data.  All are reentrant.

/// An interface descriptor (one alternate setting of one interface).
struct UsbInterfaceDescriptor {
    std::uint8_t number = 0;
    std::uint8_t alternateSetting = 0;
    std::uint8_t interfaceClass = 0;
    std::uint8_t interfaceSubClass = 0;
    std::uint8_t interfaceProtocol = 0;

    /// The interface that receives the class's control requests (class 14, subclass 1).
    bool isVideoControl() const { return interfaceClass == 0x0E && interfaceSubClass == 0x01; }

    friend bool operator==(const UsbInterfaceDescriptor&, const UsbInterfaceDescriptor&) = default;
};

/// The part of a camera's record that descriptors contain: vendor, product, control interface, entity
/// identifiers, support flags.
///
/// Looks at one video-control interface.  The camera terminal is its first input terminal of type 0x0201; the
/// processing unit is the first one fed by that terminal, else the first of all.  An entity whose descriptor
/// is cut off, or too short for the control map that it announces, is ignored, and its identifier stays -1.
/// Location and name are left empty: no descriptor holds them.
/// @param deviceDescriptor        the 18 bytes of the device descriptor
/// @param configurationDescriptor one configuration with everything that follows it
/// @param interfaceNumber         which video-control interface; absent means the first
BusProberDevice probeDescriptors(std::span<const std::uint8_t> deviceDescriptor,
                                 std::span<const std::uint8_t> configurationDescriptor,
                                 std::optional<std::uint8_t> interfaceNumber = std::nullopt);

/// Every interface descriptor of a configuration, in the order of the bytes.
std::vector<UsbInterfaceDescriptor> interfacesOf(std::span<const std::uint8_t> configurationDescriptor);

/// The numbers of the video-control interfaces, each once, in the order of the bytes.  A device with two
/// video functions has two.
std::vector<std::uint8_t> videoControlInterfaces(std::span<const std::uint8_t> configurationDescriptor);

/// The configuration with this bConfigurationValue in a sequence of configurations, from its own descriptor
/// to the next configuration's or the end; empty if there is none.
std::span<const std::uint8_t> configurationWithValue(std::span<const std::uint8_t> configurations,
                                                     std::uint8_t value);

} // namespace tavelo
