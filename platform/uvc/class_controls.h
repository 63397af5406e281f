// SPDX-License-Identifier: MIT
// What the USB Video Class says about each control of a camera terminal or a processing unit.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/uvc/controls.h"

namespace tavelo {

/// How the bytes of a value are to be read.
enum class ValueForm : std::uint8_t {
    number,       ///< little-endian, not negative
    signedNumber, ///< little-endian, two's complement
    signedPair,   ///< two signed numbers of half the size each
    bitmap,       ///< GET_RES has a bit for each value that the camera takes; a value has one of them
    toggle,       ///< 0 or 1; no GET_MIN, GET_MAX, GET_RES
    compound,     ///< several fields; no order of values
};

struct ClassControl {
    ControlAddress address;
    std::string_view name; ///< for people
    std::uint8_t size = 0; ///< bytes of a value; GET_LEN returns it
    ValueForm form = ValueForm::number;
};

// Both are pure and reentrant.

/// Every control of both kinds of entity, in the order of the selectors.
std::span<const ClassControl> classControls();

/// Null for a selector that the class does not know.
const ClassControl* classControl(ControlAddress address);

} // namespace tavelo
