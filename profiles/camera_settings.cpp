// SPDX-License-Identifier: MIT
#include "profiles/camera_settings.h"

#include <algorithm>

namespace tavelo::camera_settings {

namespace {

// Stored for a control that could not be read.
constexpr std::int64_t unread = -1;

bool canBe(std::int64_t value, KTUVCControl control, const KTUVCParameters& record) {
    const bool isPair = controlRow(control).argument == ControlArgument::pair;
    return isPair || (value >= record.min() && value <= record.max());
}

} // namespace

std::string keyForCamera(std::string_view uniqueID) {
    std::string key(settingsKey);
    key += '_';
    key += uniqueID;
    return key;
}

PreferencesDictionary defaults(const KTUVCManager& manager) {
    PreferencesDictionary profile;
    for (const ProfileControl& control : profileControls())
        profile[std::string(control.key)] = {manager.record(control.control)->def()};
    profile[std::string(mirrorKey)] = {std::int64_t(0)};
    return profile;
}

void storeCurrent(PreferencesDictionary& profile, const KTUVCManager& manager, bool mirror) {
    for (const ProfileControl& control : profileControls()) {
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

std::vector<ValueToWrite> valuesToWrite(const PreferencesDictionary& profile, const KTUVCManager& manager) {
    std::vector<ValueToWrite> values;
    bool wasSilent = false; // whether the camera did not answer when the profile was created
    for (const ProfileControl& control : profileControls()) {
        const KTUVCParameters& record = *manager.record(control.control);
        if (!record.supported()) continue;
        const std::int64_t value = integer(profile, control.key);
        values.push_back({&control, value});
        wasSilent = wasSilent || (value == unread && !canBe(unread, control.control, record));
    }
    if (wasSilent) std::erase_if(values, [](const ValueToWrite& each) { return each.value == unread; });
    return values;
}

bool areDefaults(const PreferencesDictionary& profile, const KTUVCManager& manager) {
    return std::ranges::all_of(valuesToWrite(profile, manager), [&manager](const ValueToWrite& each) {
        return !each.control->decidesDefaults || each.value == manager.record(each.control->control)->def();
    });
}

} // namespace tavelo::camera_settings
