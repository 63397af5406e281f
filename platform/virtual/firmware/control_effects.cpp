// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/control_effects.h"

#include <algorithm>
#include <cmath>

#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/firmware_control.h"

namespace tavelo {

bool isRuledByAutomatic(ControlAddress address, const ControlReader& valueOf) {
    const auto isOn = [&](ControlAddress automatic) { return valueOf(automatic).value_or(0) != 0; };
    const std::int64_t mode = valueOf(control::autoExposureMode).value_or(uvc::manualExposure);
    if (address == control::exposureTime)
        return mode == uvc::automaticExposure || mode == uvc::aperturePriority;
    if (address == control::iris) return mode == uvc::automaticExposure || mode == uvc::shutterPriority;
    if (address == control::focus) return isOn(control::autoFocus);
    if (address == control::hue) return isOn(control::autoHue);
    if (address == control::whiteBalance) return isOn(control::autoWhiteBalance);
    return false;
}

PictureSettings pictureSettingsOf(const std::function<double(ControlAddress)>& number,
                                  const ControlReader& valueOf) {
    PictureSettings settings;
    settings.brightness = number(control::brightness) / 64 * 0.6;
    settings.contrast = number(control::contrast) / 32;
    settings.saturation = number(control::saturation) / 64;
    settings.hue = number(control::hue) / 100;
    settings.whiteBalance = (number(control::whiteBalance) - 4600) / 1900;
    settings.gamma = number(control::gamma) / 100;
    const double stops = std::log2(number(control::exposureTime) / 156) -
                         2 * std::log2(number(control::iris) / 280) + number(control::gain) / 50 +
                         number(control::backlight) / 8;
    settings.exposure = std::exp2(std::clamp(stops / 2, -4.0, 3.0));
    settings.sharpness = number(control::sharpness) / 10;
    settings.defocus = number(control::focus) / 250;
    settings.zoom = number(control::zoom) / 100;
    const std::int64_t panTilt = valueOf(control::panTilt).value_or(0);
    settings.pan = panOf(panTilt) / 3600.0;
    settings.tilt = tiltOf(panTilt) / 3600.0;
    settings.roll = number(control::roll);
    settings.interlaced = valueOf(control::scanningMode).value_or(1) == 0;
    return settings;
}

} // namespace tavelo
