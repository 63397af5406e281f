// SPDX-License-Identifier: MIT
#include "uvc/control_table.h"

#include <algorithm>

namespace tavelo {
namespace {

using Device = BusProberDevice;
using enum KTUVCControl;
using enum KTUVCParameterType;
using enum ControlArgument;

constexpr std::int32_t ct = KTUVCControlInfo::cameraTerminal;
constexpr std::int32_t pu = KTUVCControlInfo::processingUnit;
constexpr bool yes = true;
constexpr bool no = false;

constexpr std::array scanningModes{
    ControlChoice{0, "Interlaced", "interlaced"},
    ControlChoice{1, "Progressive", "progressive"},
};

// The class's bit map, one bit per mode.
constexpr std::array exposureModes{
    ControlChoice{1, "Manual Exposure, Manual Iris", "manual_exposure_manual_iris"},
    ControlChoice{2, "Auto Exposure, Auto Iris", "auto_exposure_auto_iris"},
    ControlChoice{4, "Manual Exposure, Auto Iris", "manual_exposure_auto_iris"},
    ControlChoice{8, "Auto exposure, Manual iris", "auto_exposure_manual_iris"},
};

constexpr std::array powerLineFrequencies{
    ControlChoice{1, "50 Hz", {}},
    ControlChoice{2, "60 Hz", {}},
};

constexpr AutomaticControl manualExposure{autoExposureMode, 1};
constexpr AutomaticControl focusSwitchOff{autoFocus, 0};
constexpr AutomaticControl hueSwitchOff{autoHue, 0};
constexpr AutomaticControl whiteBalanceSwitchOff{autoWhiteBalance, 0};

// Sizes are what requests ask for.  Power line and hue auto (1 byte in the class) and white balance (2) ask
// for more: a camera answers with what it has, and its answer's length is the size of later writes.  The key
// "power_line_frequencey" is spelt as in the string tables.
// clang-format off
constexpr std::array<ControlRow, controlCount> table{{
    // control             unit sel size min max def signed type  argument bulk  text, key, flags of the descriptors, ...
    {scanningMode,         ct,  1,  1,  no,  no,  no,  no,  choice, integer, yes, "Scanning Mode", "scanning_mode", &Device::supportScanningMode, nullptr, {}, scanningModes},
    {autoExposureMode,     ct,  2,  1,  no,  no,  yes, no,  choice, integer, yes, "Auto Exposure", "auto_exposure", &Device::supportAutoExposureMode, nullptr, {}, exposureModes},
    {autoExposurePriority, ct,  3,  1,  no,  no,  no,  no,  flag,   truth,   yes, "Exposure Priority", "exposure_priority", &Device::supportAutoExposurePriority},
    {exposureTime,         ct,  4,  4,  yes, yes, yes, no,  range,  integer, yes, "Exposure Time", "exposure_time", &Device::supportExposureTime, nullptr, manualExposure},
    {iris,                 ct,  9,  2,  yes, yes, yes, no,  range,  integer, yes, "Iris", "iris", &Device::supportIris},
    {autoFocus,            ct,  8,  1,  no,  no,  yes, no,  flag,   truth,   yes, "Auto Focus", "auto_focus", &Device::supportAutoFocus},
    {focus,                ct,  6,  2,  yes, yes, yes, no,  range,  integer, yes, "Focus", "focus", &Device::supportFocus, nullptr, focusSwitchOff},
    {zoom,                 ct,  11, 2,  yes, yes, yes, no,  range,  integer, yes, "Zoom", "zoom", &Device::supportZoom},
    {panTilt,              ct,  13, 8,  yes, yes, yes, yes, range,  pair,    yes, "Pan Tilt", "pan_tilt", &Device::supportPan, &Device::supportTilt},
    {roll,                 ct,  15, 2,  yes, yes, yes, yes, range,  integer, no,  "Roll", "roll", &Device::supportRoll},
    {backlight,            pu,  1,  2,  yes, yes, yes, no,  range,  integer, yes, "Backlight Compensation", "backlight_compensation", &Device::supportBacklight},
    {bright,               pu,  2,  2,  yes, yes, yes, yes, range,  integer, yes, "Bright", "bright", &Device::supportBright},
    {contrast,             pu,  3,  2,  yes, yes, yes, no,  range,  integer, yes, "Contrast", "contrast", &Device::supportContrast},
    {gain,                 pu,  4,  2,  yes, yes, yes, no,  range,  integer, yes, "Gain", "gain", &Device::supportGain},
    {powerLine,            pu,  5,  2,  yes, yes, yes, no,  choice, integer, yes, "Power Line Frequency", "power_line_frequencey", &Device::supportPowerLine, nullptr, {}, powerLineFrequencies},
    {autoHue,              pu,  16, 2,  no,  no,  yes, no,  flag,   number,  yes, "Auto Hue", "auto_hue", &Device::supportAutoHue},
    {hue,                  pu,  6,  2,  yes, yes, yes, yes, range,  integer, yes, "Hue", "hue", &Device::supportHue, nullptr, hueSwitchOff},
    {saturation,           pu,  7,  2,  yes, yes, yes, no,  range,  integer, yes, "Saturation", "saturation", &Device::supportSaturation},
    {sharpness,            pu,  8,  2,  yes, yes, yes, no,  range,  integer, yes, "Sharpness", "sharpness", &Device::supportSharpness},
    {gamma,                pu,  9,  2,  yes, yes, yes, no,  range,  integer, yes, "Gamma", "gamma", &Device::supportGamma},
    {autoWhiteBalance,     pu,  11, 1,  no,  no,  yes, no,  flag,   number,  yes, "Auto White Balance", "auto_white_balance", &Device::supportAutoWhiteBalance},
    {whiteBalance,         pu,  10, 4,  yes, yes, yes, no,  range,  integer, yes, "White Balance", "white_balance", &Device::supportWhiteBalance, nullptr, whiteBalanceSwitchOff},
}};
// clang-format on

// Resetting and sending walk the table once, so an automatic control must come before those it governs.
constexpr bool isInOrder() {
    for (std::size_t i = 0; i < controlCount; ++i) {
        if (indexOf(table[i].control) != i) return false;
        if (table[i].automatic && indexOf(table[i].automatic->control) >= i) return false;
    }
    return true;
}
static_assert(isInOrder());

} // namespace

const std::array<ControlRow, controlCount>& controlTable() {
    return table;
}

std::optional<KTUVCControl> controlAt(ControlAddress address) {
    const std::int32_t unit = address.entity == UvcEntity::cameraTerminal ? ct : pu;
    const auto found = std::ranges::find_if(
        table, [&](const ControlRow& row) { return row.unit == unit && row.selector == address.selector; });
    return found == table.end() ? std::nullopt : std::optional(found->control);
}

} // namespace tavelo
