// SPDX-License-Identifier: MIT
// The table of all UVC controls that the program knows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/bus_prober.h"
#include "platform/control_address.h"
#include "uvc/kt_uvc_parameters.h"

namespace tavelo {

/// The controls in table order; the number of each is its record's tag.
enum class KTUVCControl : std::uint8_t {
    scanningMode,
    autoExposureMode,
    autoExposurePriority,
    exposureTime,
    iris,
    autoFocus,
    focus,
    zoom,
    panTilt,
    roll,
    backlight,
    bright,
    contrast,
    gain,
    powerLine,
    autoHue,
    hue,
    saturation,
    sharpness,
    gamma,
    autoWhiteBalance,
    whiteBalance,
};

inline constexpr std::size_t controlCount = static_cast<std::size_t>(KTUVCControl::whiteBalance) + 1;

constexpr std::size_t indexOf(KTUVCControl control) {
    return static_cast<std::size_t>(control);
}

/// How a control's setter converts the number that it is given.
enum class ControlArgument : std::uint8_t {
    integer, ///< taken as it is
    truth,   ///< becomes 1 or 0
    number,  ///< a flag that keeps the number's low 32 bits
    pair,    ///< pan and tilt in one 64-bit number
};

/// One entry of a choice.
struct ControlChoice {
    std::int64_t value;
    std::string_view text;
    std::string_view key; ///< empty if the text is the same in every language
};

/// The automatic control that governs a manual one: the manual one may be changed while the automatic one
/// holds `manualValue`, or if the camera has no automatic one.
struct AutomaticControl {
    KTUVCControl control;
    std::int64_t manualValue;
};

using SupportFlag = bool BusProberDevice::*;

struct ControlRow {
    KTUVCControl control;

    std::int32_t unit;
    std::int32_t selector;
    std::int32_t intendedSize;
    bool hasMin;
    bool hasMax;
    bool hasDef;
    bool isSigned;

    KTUVCParameterType type;
    ControlArgument argument;
    /// Whether the control is written when all are reset or sent.
    bool inBulk;

    /// Shown if no string table has an entry under `key`.
    std::string_view text;
    std::string_view key;

    /// The camera has the control if either of them is set.
    SupportFlag supportFlag;
    SupportFlag secondSupportFlag = nullptr;

    std::optional<AutomaticControl> automatic = std::nullopt;
    std::span<const ControlChoice> choices = {};

    bool isListedBy(const BusProberDevice& device) const {
        return device.*supportFlag || (secondSupportFlag != nullptr && device.*secondSupportFlag);
    }
};

/// In the order of KTUVCControl.  Reentrant; constant.
const std::array<ControlRow, controlCount>& controlTable();

inline const ControlRow& controlRow(KTUVCControl control) {
    return controlTable()[indexOf(control)];
}

/// Nothing for a control of the class that the table does not have.  Reentrant.
std::optional<KTUVCControl> controlAt(ControlAddress address);

} // namespace tavelo
