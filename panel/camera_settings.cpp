// SPDX-License-Identifier: MIT
#include "panel/camera_settings.h"

#include <algorithm>

namespace tavelo::camera_settings {

namespace {

using C = KTUVCControl;
using M = KTUVCManager;

} // namespace

const std::array<StoredControl, 8> storedControls{{
    {"kNSUserDefaultsKeyBrightness", C::bright, &M::setBrightWithComplitionHandle, true},
    {"kNSUserDefaultsKeyContrast", C::contrast, &M::setContrastWithComplitionHandle, true},
    {"kNSUserDefaultsKeySaturation", C::saturation, &M::setSaturationWithComplitionHandle, true},
    {"kNSUserDefaultsKeyWhiteBalance", C::whiteBalance, &M::setWhiteBalanceWithComplitionHandle, true},
    {"kNSUserDefaultsKeySharpness", C::sharpness, &M::setSharpnessWithComplitionHandle, true},
    {"kNSUserDefaultsKeyZoom", C::zoom, &M::setZoomWithComplitionHandle, false},
    {"kNSUserDefaultsKeyPanTilt", C::panTilt, &M::setPanTiltWithComplitionHandle, false},
    {"kNSUserDefaultsKeyPowerLine", C::powerLine, &M::setPowerLineWithComplitionHandle, true},
}};

std::string keyForCamera(std::string_view uniqueID) {
    std::string key(settingsKey);
    key += '_';
    key += uniqueID;
    return key;
}

PreferencesDictionary defaults(const KTUVCManager& manager) {
    PreferencesDictionary profile;
    for (const StoredControl& control : storedControls)
        profile[std::string(control.key)] = {manager.record(control.control)->def()};
    profile[std::string(mirrorKey)] = {std::int64_t(0)};
    return profile;
}

void storeCurrent(PreferencesDictionary& profile, const KTUVCManager& manager, bool mirror) {
    for (const StoredControl& control : storedControls)
        profile[std::string(control.key)] = {manager.record(control.control)->val()};
    profile[std::string(mirrorKey)] = {mirror};
}

PreferencesArray newRecord(const PreferencesDictionary& profile, std::int64_t selectedProfile) {
    PreferencesArray record(selectedProfilePosition, PreferencesValue{profile});
    record.push_back({selectedProfileEntry(selectedProfile)});
    return record;
}

PreferencesDictionary selectedProfileEntry(std::int64_t selectedProfile) {
    return {{std::string(selectedProfileKey), {selectedProfile}}};
}

std::int64_t integer(const PreferencesDictionary& profile, std::string_view key) {
    const auto entry = profile.find(std::string(key));
    if (entry == profile.end()) return 0;
    const auto& value = entry->second.value;
    if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? 1 : 0;
    // Only numbers edited by hand are fractions; those outside the range of integers mean nothing.
    const auto* fraction = std::get_if<double>(&value);
    constexpr double limit = 9e18;
    return fraction != nullptr && *fraction > -limit && *fraction < limit
               ? static_cast<std::int64_t>(*fraction)
               : 0;
}

bool boolean(const PreferencesDictionary& profile, std::string_view key) {
    return integer(profile, key) != 0;
}

bool areDefaults(const PreferencesDictionary& profile, const KTUVCManager& manager) {
    return std::ranges::all_of(storedControls, [&](const StoredControl& control) {
        return !control.decidesDefaults ||
               integer(profile, control.key) == manager.record(control.control)->def();
    });
}

} // namespace tavelo::camera_settings
