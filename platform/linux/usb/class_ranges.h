// SPDX-License-Identifier: MIT
// Ranges that the USB Video Class itself fixes, for controls whose range a camera need not report.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/linux/kernel/kernel_controls.h"

namespace tavelo {

/// The answer to GET_MIN or GET_MAX of a one-byte control for which the class does not require that
/// request: power line frequency, exposure mode, and switches.  Nothing for any other request: the class
/// requires GET_DEF of these controls wherever a default is known.  Pure.
/// @param classVersion bcdUVC of the camera; 1.5 added a power line frequency
std::optional<std::uint8_t> classRange(UvcEntity entity, std::uint8_t selector, UvcRequest request,
                                       std::uint16_t classVersion);

} // namespace tavelo
