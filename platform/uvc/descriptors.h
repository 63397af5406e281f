// SPDX-License-Identifier: MIT
// What a camera's USB descriptors say about its controls.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/bus_prober.h"
#include "platform/uvc/descriptor_walk.h"

namespace tavelo {

// Descriptors come from the device and are hostile input: every function here accepts any bytes, reads
// nothing outside its spans, ends after one pass and uses what it can of malformed data.  All are reentrant.

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

/// The class-specific descriptors of one video-control interface, by default the first; each has three bytes
/// or more.  They end at the next interface descriptor; the total length in their header may be wrong and is
/// not used.
std::vector<std::span<const std::uint8_t>> videoControlDescriptors(
    std::span<const std::uint8_t> configurationDescriptor, std::optional<std::uint8_t> interfaceNumber);

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
