// SPDX-License-Identifier: MIT
// The stored settings of a camera: four profiles and the index of the one selected last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/preferences_store.h"
#include "profiles/profile_controls.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo::camera_settings {

inline constexpr std::string_view settingsKey = "kNSUserDefaultsKeyCameraSettings";
inline constexpr std::string_view mirrorKey = "kNSUserDefaultsKeyMirror";
inline constexpr std::string_view selectedProfileKey = "kNSUserDefaultsKeyCameraSelectedProfileIndex";

/// The position of the selected profile's entry in a record, after the four profiles.
inline constexpr std::size_t selectedProfilePosition = 4;

/// The preferences key of a camera's record.
std::string keyForCamera(std::string_view uniqueID);

/// The camera's own defaults, mirror off.
PreferencesDictionary defaults(const KTUVCManager& manager);

/// Overwrites the entries of profileControls() and the mirror with the current values.  Keeps other entries,
/// and the entries of controls that the camera does not have.
void storeCurrent(PreferencesDictionary& profile, const KTUVCManager& manager, bool mirror);

/// Four equal profiles and the selected index.
PreferencesArray newRecord(const PreferencesDictionary& profile, std::int64_t selectedProfile);

PreferencesDictionary selectedProfileEntry(std::int64_t selectedProfile);

/// 0 if the entry is missing or not a number.
std::int64_t integer(const PreferencesDictionary& profile, std::string_view key);
bool boolean(const PreferencesDictionary& profile, std::string_view key);

struct ValueToWrite {
    const ProfileControl* control;
    std::int64_t value;
};

/// The values of a profile that the bound camera supports, in the order of profileControls().
///
/// A profile created while the camera did not answer holds -1 for values that could not be read.  If any -1
/// in a profile is outside its control's range, none of its -1 values is written.
std::vector<ValueToWrite> valuesToWrite(const PreferencesDictionary& profile, const KTUVCManager& manager);

/// Whether the profile's values are the bound camera's defaults.  Looks only at controls with
/// decidesDefaults, and only at values that would be written.
bool areDefaults(const PreferencesDictionary& profile, const KTUVCManager& manager);

} // namespace tavelo::camera_settings
