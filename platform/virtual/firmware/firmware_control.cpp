// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/firmware_control.h"

#include <algorithm>
#include <array>

namespace tavelo {
namespace {

using enum ControlKind;

// name, address, size, kind, signed, minimum, maximum, resolution, default
constexpr std::array<FirmwareControl, 23> table{{
    {"scanningMode", control::scanningMode, 1, toggle, false, 0, 1, 1, 1},
    {"autoExposureMode", control::autoExposureMode, 1, modes, false, 0, 0, 0x0F, 8},
    {"autoExposurePriority", control::autoExposurePriority, 1, toggle, false, 0, 1, 1, 0},
    {"exposureTime", control::exposureTime, 4, range, false, 1, 5000, 1, 156}, // 100 us
    {"exposureTimeRelative", control::exposureTimeRelative, 1, relative, true, 0, 0, 0, 0},
    {"focus", control::focus, 2, range, false, 0, 250, 5, 0},
    {"autoFocus", control::autoFocus, 1, toggle, false, 0, 1, 1, 1},
    {"iris", control::iris, 2, range, false, 100, 1600, 20, 280},            // f-number x 100
    {"zoom", control::zoom, 2, range, false, 100, 400, 1, 100},              // per cent
    {"panTilt", control::panTilt, 8, panTilt, true, -36000, 36000, 3600, 0}, // arc-seconds
    {"roll", control::roll, 2, range, true, -90, 90, 1, 0},                  // degrees
    {"backlight", control::backlight, 2, range, false, 0, 4, 1, 0},
    {"brightness", control::brightness, 2, range, true, -64, 64, 1, 0},
    {"contrast", control::contrast, 2, range, false, 0, 64, 1, 32},
    {"gain", control::gain, 2, range, false, 0, 100, 1, 0},
    {"powerLine", control::powerLine, 1, range, false, 0, 2, 1, 1},
    {"hue", control::hue, 2, range, true, -18000, 18000, 100, 0}, // hundredths of a degree
    {"saturation", control::saturation, 2, range, false, 0, 128, 1, 64},
    {"sharpness", control::sharpness, 2, range, false, 0, 10, 1, 5},
    {"gamma", control::gamma, 2, range, false, 72, 500, 1, 100},                    // hundredths
    {"whiteBalance", control::whiteBalance, 2, range, false, 2800, 6500, 10, 4600}, // kelvin
    // Off, unlike in most cameras, so that the manual control has an effect.
    {"autoWhiteBalance", control::autoWhiteBalance, 1, toggle, false, 0, 1, 1, 0},
    {"autoHue", control::autoHue, 1, toggle, false, 0, 1, 1, 0},
}};

} // namespace

std::span<const FirmwareControl> firmwareControls() {
    return table;
}

const FirmwareControl* firmwareControl(ControlAddress address) {
    const auto* found = std::ranges::find(table, address, &FirmwareControl::address);
    return found != table.end() ? found : nullptr;
}

const FirmwareControl* firmwareControlNamed(std::string_view name) {
    const auto* found = std::ranges::find(table, name, &FirmwareControl::name);
    return found != table.end() ? found : nullptr;
}

} // namespace tavelo
