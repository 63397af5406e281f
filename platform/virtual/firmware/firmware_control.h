// SPDX-License-Identifier: MIT
// The static table of controls behind a virtual camera's firmware.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/uvc/controls.h"

namespace tavelo {

/// The kind of a control's value: which requests it answers and which values it takes.
enum class ControlKind : std::uint8_t {
    range,    ///< minimum to maximum; GET_MIN, GET_MAX, GET_RES, GET_DEF
    toggle,   ///< 0 or 1; GET_DEF
    modes,    ///< one bit of the map that GET_RES returns; GET_DEF
    relative, ///< a step; has no value of its own
    panTilt,  ///< two ranges in one: pan in the low 32 bits, tilt in the high ones
};

/// One control.  For panTilt the values apply to each half.
struct FirmwareControl {
    std::string_view name; ///< same as the constants in controls.h
    ControlAddress address;
    std::uint8_t size = 0; ///< bytes on the wire
    ControlKind kind = ControlKind::range;
    bool isSigned = false;
    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t resolution = 0; ///< the map of modes if the kind is modes
    std::int32_t defaultValue = 0;
};

/// Every control, the camera terminal's first, each in the order of its selectors.
std::span<const FirmwareControl> firmwareControls();

/// Null if there is none.
const FirmwareControl* firmwareControl(ControlAddress address);
const FirmwareControl* firmwareControlNamed(std::string_view name);

/// Packs pan and tilt, in arc-seconds, into one value.
constexpr std::int64_t packPanTilt(std::int32_t pan, std::int32_t tilt) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(tilt)) << 32U |
                                     static_cast<std::uint32_t>(pan));
}
constexpr std::int32_t panOf(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}
constexpr std::int32_t tiltOf(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value) >> 32U));
}

} // namespace tavelo
