// SPDX-License-Identifier: MIT
#include "profiles/profile_controls.h"

#include <array>

namespace tavelo {
namespace {

using enum KTUVCControl;

constexpr std::array table{
    ProfileControl{bright, "kNSUserDefaultsKeyBrightness", true},
    ProfileControl{contrast, "kNSUserDefaultsKeyContrast", true},
    ProfileControl{saturation, "kNSUserDefaultsKeySaturation", true},
    ProfileControl{whiteBalance, "kNSUserDefaultsKeyWhiteBalance", true},
    ProfileControl{sharpness, "kNSUserDefaultsKeySharpness", true},
    ProfileControl{zoom, "kNSUserDefaultsKeyZoom", false},
    ProfileControl{panTilt, "kNSUserDefaultsKeyPanTilt", false},
    ProfileControl{powerLine, "kNSUserDefaultsKeyPowerLine", true},
};

} // namespace

std::span<const ProfileControl> profileControls() {
    return table;
}

} // namespace tavelo
