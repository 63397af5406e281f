// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_control_table.h"

#include <linux/v4l2-controls.h>

#include <algorithm>
#include <array>

namespace tavelo {

namespace {

constexpr auto terminal = UvcEntity::cameraTerminal;
constexpr auto unit = UvcEntity::processingUnit;
constexpr auto number = KernelEncoding::number;
constexpr auto none = KernelRange::none;
constexpr auto def = KernelRange::defaultOnly;
constexpr auto modes = KernelRange::defaultAndResolution;
constexpr auto full = KernelRange::full;

// clang-format off
constexpr std::array controls{
    // entity, selector, size, signed, encoding, range, V4L2 control, second one, name
    KernelControl{terminal, 2, 1, false, KernelEncoding::exposureMode, modes, V4L2_CID_EXPOSURE_AUTO, 0, "exposure mode"},
    KernelControl{terminal, 3, 1, false, number, none, V4L2_CID_EXPOSURE_AUTO_PRIORITY, 0, "exposure priority"},
    KernelControl{terminal, 4, 4, false, number, full, V4L2_CID_EXPOSURE_ABSOLUTE, 0, "exposure time"},
    KernelControl{terminal, 6, 2, false, number, full, V4L2_CID_FOCUS_ABSOLUTE, 0, "focus"},
    KernelControl{terminal, 8, 1, false, number, def, V4L2_CID_FOCUS_AUTO, 0, "auto focus"},
    KernelControl{terminal, 9, 2, false, number, full, V4L2_CID_IRIS_ABSOLUTE, 0, "iris"},
    KernelControl{terminal, 11, 2, false, number, full, V4L2_CID_ZOOM_ABSOLUTE, 0, "zoom"},
    KernelControl{terminal, 13, 8, true, KernelEncoding::pair, full, V4L2_CID_PAN_ABSOLUTE, V4L2_CID_TILT_ABSOLUTE, "pan and tilt"},
    KernelControl{unit, 1, 2, false, number, full, V4L2_CID_BACKLIGHT_COMPENSATION, 0, "backlight compensation"},
    KernelControl{unit, 2, 2, true, number, full, V4L2_CID_BRIGHTNESS, 0, "brightness"},
    KernelControl{unit, 3, 2, false, number, full, V4L2_CID_CONTRAST, 0, "contrast"},
    KernelControl{unit, 4, 2, false, number, full, V4L2_CID_GAIN, 0, "gain"},
    KernelControl{unit, 5, 1, false, number, full, V4L2_CID_POWER_LINE_FREQUENCY, 0, "power line frequency"},
    KernelControl{unit, 6, 2, true, number, full, V4L2_CID_HUE, 0, "hue"},
    KernelControl{unit, 7, 2, false, number, full, V4L2_CID_SATURATION, 0, "saturation"},
    KernelControl{unit, 8, 2, false, number, full, V4L2_CID_SHARPNESS, 0, "sharpness"},
    KernelControl{unit, 9, 2, false, number, full, V4L2_CID_GAMMA, 0, "gamma"},
    KernelControl{unit, 10, 2, false, number, full, V4L2_CID_WHITE_BALANCE_TEMPERATURE, 0, "white balance"},
    KernelControl{unit, 11, 1, false, number, def, V4L2_CID_AUTO_WHITE_BALANCE, 0, "auto white balance"},
    KernelControl{unit, 16, 1, false, number, def, V4L2_CID_HUE_AUTO, 0, "auto hue"},
};
// clang-format on

} // namespace

std::span<const KernelControl> kernelControls() {
    return controls;
}

const KernelControl* findKernelControl(UvcEntity entity, std::uint8_t selector) {
    const auto found = std::ranges::find_if(controls, [&](const KernelControl& control) {
        return control.entity == entity && control.selector == selector;
    });
    return found == controls.end() ? nullptr : &*found;
}

} // namespace tavelo
