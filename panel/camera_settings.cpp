// SPDX-License-Identifier: MIT
#include "panel/camera_settings.h"

#include <algorithm>

namespace tavelo::camera_settings {

namespace {

using C = KTUVCControl;

// Stored for a control that could not be read.
constexpr std::int64_t unread = -1;

bool canBe(std::int64_t value, C control, const KTUVCParameters& record) {
    const bool isPair = controlRow(control).argument == ControlArgument::pair;
    return isPair || (value >= record.min() && value <= record.max());
}

} // namespace

const std::array<StoredControl, 8> storedControls{{
    {"kNSUserDefaultsKeyBrightness", C::bright, true},
    {"kNSUserDefaultsKeyContrast", C::contrast, true},
    {"kNSUserDefaultsKeySaturation", C::saturation, true},
    {"kNSUserDefaultsKeyWhiteBalance", C::whiteBalance, true},
    {"kNSUserDefaultsKeySharpness", C::sharpness, true},
    {"kNSUserDefaultsKeyZoom", C::zoom, false},
    {"kNSUserDefaultsKeyPanTilt", C::panTilt, false},
    {"kNSUserDefaultsKeyPowerLine", C::powerLine, true},
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
    for (const StoredControl& control : storedControls) {
        const KTUVCParameters& record = *manager.record(control.control);
        const PreferencesValue value{record.val()};
        if (record.supported())
            profile.insert_or_assign(std::string(control.key), value);
        else
            profile.try_emplace(std::string(control.key), value);
    }
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
    // Only a file edited by hand contains fractions.  Those outside the range of integers are ignored.
    const auto* fraction = std::get_if<double>(&value);
    constexpr double limit = 9e18;
    return fraction != nullptr && *fraction > -limit && *fraction < limit
               ? static_cast<std::int64_t>(*fraction)
               : 0;
}

bool boolean(const PreferencesDictionary& profile, std::string_view key) {
    return integer(profile, key) != 0;
}

ValuesToWrite valuesToWrite(const PreferencesDictionary& profile, const KTUVCManager& manager) {
    ValuesToWrite values;
    bool wasSilent = false; // whether the camera did not answer when the profile was created
    for (std::size_t i = 0; i < storedControls.size(); ++i) {
        const StoredControl& control = storedControls[i];
        const KTUVCParameters& record = *manager.record(control.control);
        if (!record.supported()) continue;
        values[i] = integer(profile, control.key);
        wasSilent = wasSilent || (values[i] == unread && !canBe(unread, control.control, record));
    }
    if (wasSilent) std::ranges::replace(values, std::optional(unread), std::nullopt);
    return values;
}

bool areDefaults(const PreferencesDictionary& profile, const KTUVCManager& manager) {
    const ValuesToWrite values = valuesToWrite(profile, manager);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const StoredControl& control = storedControls[i];
        if (control.decidesDefaults && values[i] && *values[i] != manager.record(control.control)->def())
            return false;
    }
    return true;
}

} // namespace tavelo::camera_settings
