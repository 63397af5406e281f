// SPDX-License-Identifier: MIT
// Finds interfaces of a device by class and setting.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/usb_interface.h"

namespace tavelo {

/// The numbers of the interfaces of which at least one setting matches, each once, in the order of the
/// descriptors.  Accepts any bytes.  Reentrant.
std::vector<std::uint8_t> matchingInterfaces(std::span<const std::uint8_t> configurationDescriptor,
                                             const UsbInterfaceMatch& match);

} // namespace tavelo
