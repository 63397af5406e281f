// SPDX-License-Identifier: MIT
#include "platform/uvc/class_controls.h"

#include <algorithm>
#include <array>

namespace tavelo {
namespace {

using enum ValueForm;

constexpr auto terminal = UvcEntity::cameraTerminal;
constexpr auto unit = UvcEntity::processingUnit;

constexpr std::array<ClassControl, 39> table{{
    {{terminal, 1}, "scanning mode", 1, toggle},
    {{terminal, 2}, "auto exposure mode", 1, bitmap},
    {{terminal, 3}, "auto exposure priority", 1, toggle},
    {{terminal, 4}, "exposure time", 4, number},
    {{terminal, 5}, "relative exposure time", 1, compound},
    {{terminal, 6}, "focus", 2, number},
    {{terminal, 7}, "relative focus", 2, compound},
    {{terminal, 8}, "auto focus", 1, toggle},
    {{terminal, 9}, "iris", 2, number},
    {{terminal, 10}, "relative iris", 1, compound},
    {{terminal, 11}, "zoom", 2, number},
    {{terminal, 12}, "relative zoom", 3, compound},
    {{terminal, 13}, "pan and tilt", 8, signedPair},
    {{terminal, 14}, "relative pan and tilt", 4, compound},
    {{terminal, 15}, "roll", 2, signedNumber},
    {{terminal, 16}, "relative roll", 2, compound},
    {{terminal, 17}, "privacy shutter", 1, toggle},
    {{terminal, 18}, "simple focus range", 1, compound},
    {{terminal, 19}, "digital window", 12, compound},
    {{terminal, 20}, "region of interest", 10, compound},
    {{unit, 1}, "backlight compensation", 2, number},
    {{unit, 2}, "brightness", 2, signedNumber},
    {{unit, 3}, "contrast", 2, number},
    {{unit, 4}, "gain", 2, number},
    {{unit, 5}, "power line frequency", 1, number},
    {{unit, 6}, "hue", 2, signedNumber},
    {{unit, 7}, "saturation", 2, number},
    {{unit, 8}, "sharpness", 2, number},
    {{unit, 9}, "gamma", 2, number},
    {{unit, 10}, "white balance temperature", 2, number},
    {{unit, 11}, "auto white balance temperature", 1, toggle},
    {{unit, 12}, "white balance component", 4, compound},
    {{unit, 13}, "auto white balance component", 1, toggle},
    {{unit, 14}, "digital multiplier", 2, number},
    {{unit, 15}, "digital multiplier limit", 2, number},
    {{unit, 16}, "auto hue", 1, toggle},
    {{unit, 17}, "analog video standard", 1, compound},
    {{unit, 18}, "analog video lock", 1, compound},
    {{unit, 19}, "auto contrast", 1, toggle},
}};

} // namespace

std::span<const ClassControl> classControls() {
    return table;
}

const ClassControl* classControl(ControlAddress address) {
    const auto* found = std::ranges::find(table, address, &ClassControl::address);
    return found != table.end() ? found : nullptr;
}

} // namespace tavelo
