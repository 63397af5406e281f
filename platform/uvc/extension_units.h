// SPDX-License-Identifier: MIT
// The extension units in a camera's descriptors.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/extension_unit.h"

namespace tavelo {

// All are pure and reentrant.

/// Nothing if the descriptor is of another kind, or is cut off.  Accepts any bytes.
std::optional<ExtensionUnit> asExtensionUnit(std::span<const std::uint8_t> descriptor);

/// Those among the class-specific descriptors of a control interface, see videoControlDescriptors(); of two
/// with one identifier the first.
std::vector<ExtensionUnit> extensionUnitsOf(std::span<const std::span<const std::uint8_t>> descriptors);

} // namespace tavelo
