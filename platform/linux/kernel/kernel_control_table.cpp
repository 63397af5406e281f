// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_control_table.h"

#include <linux/v4l2-controls.h>

#include <algorithm>
#include <array>

namespace tavelo {

namespace {

constexpr auto number = KernelEncoding::number;
constexpr auto none = KernelRange::none;
constexpr auto def = KernelRange::defaultOnly;
constexpr auto modes = KernelRange::defaultAndResolution;
constexpr auto full = KernelRange::full;

// clang-format off
constexpr std::array controls{
    // address, size, signed, encoding, range, V4L2 control, second one, name
    KernelControl{control::autoExposureMode, 1, false, KernelEncoding::exposureMode, modes, V4L2_CID_EXPOSURE_AUTO, 0, "exposure mode"},
    KernelControl{control::autoExposurePriority, 1, false, number, none, V4L2_CID_EXPOSURE_AUTO_PRIORITY, 0, "exposure priority"},
    KernelControl{control::exposureTime, 4, false, number, full, V4L2_CID_EXPOSURE_ABSOLUTE, 0, "exposure time"},
    KernelControl{control::focus, 2, false, number, full, V4L2_CID_FOCUS_ABSOLUTE, 0, "focus"},
    KernelControl{control::autoFocus, 1, false, number, def, V4L2_CID_FOCUS_AUTO, 0, "auto focus"},
    KernelControl{control::iris, 2, false, number, full, V4L2_CID_IRIS_ABSOLUTE, 0, "iris"},
    KernelControl{control::zoom, 2, false, number, full, V4L2_CID_ZOOM_ABSOLUTE, 0, "zoom"},
    KernelControl{control::panTilt, 8, true, KernelEncoding::pair, full, V4L2_CID_PAN_ABSOLUTE, V4L2_CID_TILT_ABSOLUTE, "pan and tilt"},
    KernelControl{control::backlight, 2, false, number, full, V4L2_CID_BACKLIGHT_COMPENSATION, 0, "backlight compensation"},
    KernelControl{control::brightness, 2, true, number, full, V4L2_CID_BRIGHTNESS, 0, "brightness"},
    KernelControl{control::contrast, 2, false, number, full, V4L2_CID_CONTRAST, 0, "contrast"},
    KernelControl{control::gain, 2, false, number, full, V4L2_CID_GAIN, 0, "gain"},
    KernelControl{control::powerLine, 1, false, number, full, V4L2_CID_POWER_LINE_FREQUENCY, 0, "power line frequency"},
    KernelControl{control::hue, 2, true, number, full, V4L2_CID_HUE, 0, "hue"},
    KernelControl{control::saturation, 2, false, number, full, V4L2_CID_SATURATION, 0, "saturation"},
    KernelControl{control::sharpness, 2, false, number, full, V4L2_CID_SHARPNESS, 0, "sharpness"},
    KernelControl{control::gamma, 2, false, number, full, V4L2_CID_GAMMA, 0, "gamma"},
    KernelControl{control::whiteBalance, 2, false, number, full, V4L2_CID_WHITE_BALANCE_TEMPERATURE, 0, "white balance"},
    KernelControl{control::autoWhiteBalance, 1, false, number, def, V4L2_CID_AUTO_WHITE_BALANCE, 0, "auto white balance"},
    KernelControl{control::autoHue, 1, false, number, def, V4L2_CID_HUE_AUTO, 0, "auto hue"},
};
// clang-format on

} // namespace

std::span<const KernelControl> kernelControls() {
    return controls;
}

const KernelControl* findKernelControl(ControlAddress address) {
    const auto found = std::ranges::find(controls, address, &KernelControl::address);
    return found == controls.end() ? nullptr : &*found;
}

} // namespace tavelo
