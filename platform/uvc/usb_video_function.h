// SPDX-License-Identifier: MIT
// A camera as its configuration describes it: which interfaces belong together, which controls it has.
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "platform/extension_unit.h"
#include "platform/uvc/controls.h"

namespace tavelo {

/// One video function of a device: its control interface and the streaming interfaces that belong to it.
struct UsbVideoFunction {
    std::uint8_t controlInterface = 0;
    /// The streaming interfaces that the function's header lists and that exist.
    std::vector<std::uint8_t> streamingInterfaces;
    std::uint16_t classVersion = 0; ///< bcdUVC; 0 if no header contains it

    /// Whether the descriptors list this control of an entity.  True for every control if the control maps
    /// cannot be read.
    bool lists(std::uint8_t entity, std::uint8_t selector) const;

    /// The kind of an entity.  If the control maps cannot be read, by the identifiers that callers then
    /// use.
    std::optional<UvcEntity> kindOf(std::uint8_t entity) const;

    struct Entity {
        UvcEntity kind = UvcEntity::cameraTerminal;
        std::bitset<256> selectors;
    };
    /// By identifier; empty if no control map can be read.
    std::map<std::uint8_t, Entity> entities;
    std::vector<ExtensionUnit> extensionUnits; ///< no identifier twice
};

/// Reads the function of a video-control interface.  Accepts any bytes and ignores what makes no sense.
/// Pure and reentrant.
UsbVideoFunction videoFunctionOf(std::span<const std::uint8_t> configurationDescriptor,
                                 std::uint8_t controlInterface);

} // namespace tavelo
