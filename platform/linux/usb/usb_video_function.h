// SPDX-License-Identifier: MIT
// A camera as its configuration describes it: which interfaces belong together, which controls it lists.
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/kernel/kernel_control_table.h"

namespace tavelo {

/// One video function of a device: its control interface and what that one rules.
struct UsbVideoFunction {
    std::uint8_t controlInterface = 0;
    /// The streaming interfaces that the function's header names, those that exist.
    std::vector<std::uint8_t> streamingInterfaces;
    std::uint16_t classVersion = 0; ///< bcdUVC; 0 if no header tells it

    /// Whether the camera's descriptors list the control of an entity.  A camera whose control maps cannot be
    /// read lists every control.
    bool lists(std::uint8_t entity, std::uint8_t selector) const;

    /// What an entity is; of a camera whose control maps cannot be read, by the identifiers that callers use
    /// then.
    std::optional<UvcEntity> kindOf(std::uint8_t entity) const;

    struct Entity {
        UvcEntity kind = UvcEntity::cameraTerminal;
        std::bitset<256> selectors;
    };
    /// By identifier; empty where no control map can be read.
    std::map<std::uint8_t, Entity> entities;
};

/// Reads the function of a video-control interface.  Takes any bytes: what makes no sense is left out.
/// Pure and reentrant.
UsbVideoFunction videoFunctionOf(std::span<const std::uint8_t> configurationDescriptor,
                                 std::uint8_t controlInterface);

} // namespace tavelo
