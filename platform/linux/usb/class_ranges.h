// SPDX-License-Identifier: MIT
// What the USB Video Class itself says of controls whose range a camera need not tell.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/linux/kernel/kernel_controls.h"

namespace tavelo {

/// The answer to GET_MIN or GET_MAX of a control of one byte for which the class does not demand that
/// request: power line frequency, exposure mode, and what is only on or off.  Nothing for every other
/// request: the class demands GET_DEF of these controls wherever it knows a default.  Pure.
/// @param classVersion bcdUVC of the camera; 1.5 added a power line frequency
std::optional<std::uint8_t> classRange(UvcEntity entity, std::uint8_t selector, UvcRequest request,
                                       std::uint16_t classVersion);

} // namespace tavelo
