// SPDX-License-Identifier: MIT
// The camera controls of the USB Video Class.
#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/control_address.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

namespace control {
inline constexpr ControlAddress scanningMode{UvcEntity::cameraTerminal, 1};
inline constexpr ControlAddress autoExposureMode{UvcEntity::cameraTerminal, 2};
inline constexpr ControlAddress autoExposurePriority{UvcEntity::cameraTerminal, 3};
inline constexpr ControlAddress exposureTime{UvcEntity::cameraTerminal, 4};
inline constexpr ControlAddress exposureTimeRelative{UvcEntity::cameraTerminal, 5};
inline constexpr ControlAddress focus{UvcEntity::cameraTerminal, 6};
inline constexpr ControlAddress autoFocus{UvcEntity::cameraTerminal, 8};
inline constexpr ControlAddress iris{UvcEntity::cameraTerminal, 9};
inline constexpr ControlAddress zoom{UvcEntity::cameraTerminal, 11};
inline constexpr ControlAddress panTilt{UvcEntity::cameraTerminal, 13};
inline constexpr ControlAddress roll{UvcEntity::cameraTerminal, 15};
inline constexpr ControlAddress backlight{UvcEntity::processingUnit, 1};
inline constexpr ControlAddress brightness{UvcEntity::processingUnit, 2};
inline constexpr ControlAddress contrast{UvcEntity::processingUnit, 3};
inline constexpr ControlAddress gain{UvcEntity::processingUnit, 4};
inline constexpr ControlAddress powerLine{UvcEntity::processingUnit, 5};
inline constexpr ControlAddress hue{UvcEntity::processingUnit, 6};
inline constexpr ControlAddress saturation{UvcEntity::processingUnit, 7};
inline constexpr ControlAddress sharpness{UvcEntity::processingUnit, 8};
inline constexpr ControlAddress gamma{UvcEntity::processingUnit, 9};
inline constexpr ControlAddress whiteBalance{UvcEntity::processingUnit, 10};
inline constexpr ControlAddress autoWhiteBalance{UvcEntity::processingUnit, 11};
inline constexpr ControlAddress autoWhiteBalanceComponent{UvcEntity::processingUnit, 13};
inline constexpr ControlAddress autoHue{UvcEntity::processingUnit, 16};
inline constexpr ControlAddress autoContrast{UvcEntity::processingUnit, 19};
} // namespace control

// All functions are pure and reentrant.

/// The control's bit in its entity's bmControls, as a mask; 0 if the class has no such control.
std::uint32_t controlBit(ControlAddress control);

/// The selectors of the controls that an entity's bmControls lists.
std::bitset<256> listedSelectors(UvcEntity entity, std::span<const std::uint8_t> bmControls);

/// The answer to GET_MIN or GET_MAX of a one-byte control for which the class does not require that
/// request: power line frequency, exposure mode, and switches.  Nothing for any other request: the class
/// requires GET_DEF of these controls wherever a default is known.
/// @param classVersion bcdUVC of the camera; 1.5 added a power line frequency
std::optional<std::uint8_t> classRange(ControlAddress control, UvcRequest request,
                                       std::uint16_t classVersion);

} // namespace tavelo
