// SPDX-License-Identifier: MIT
// The stored settings of a camera: four profiles and which of them was selected last.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo::camera_settings {

inline constexpr std::string_view settingsKey = "kNSUserDefaultsKeyCameraSettings";
inline constexpr std::string_view mirrorKey = "kNSUserDefaultsKeyMirror";
inline constexpr std::string_view selectedProfileKey = "kNSUserDefaultsKeyCameraSelectedProfileIndex";

/// Where the selected profile's entry stands in a record, behind the four profiles.
inline constexpr std::size_t selectedProfilePosition = 4;

/// One camera control that a profile keeps.
struct StoredControl {
    std::string_view key;
    KTUVCControl control;
    /// Whether a value off its default makes a profile differ from the camera's defaults.
    bool decidesDefaults;
};

/// In the order in which they are written to the camera.
extern const std::array<StoredControl, 8> storedControls;

/// The store's key of one camera's record.
std::string keyForCamera(std::string_view uniqueID);

/// The camera's own defaults, mirror off.
PreferencesDictionary defaults(const KTUVCManager& manager);

/// Overwrites the nine entries with what the camera is set to now; other entries stay, and so do those of
/// controls that the camera does not have.
void storeCurrent(PreferencesDictionary& profile, const KTUVCManager& manager, bool mirror);

/// Four equal profiles and the selected index.
PreferencesArray newRecord(const PreferencesDictionary& profile, std::int64_t selectedProfile);

PreferencesDictionary selectedProfileEntry(std::int64_t selectedProfile);

/// 0 where the entry is missing or no number.
std::int64_t integer(const PreferencesDictionary& profile, std::string_view key);
bool boolean(const PreferencesDictionary& profile, std::string_view key);

using ValuesToWrite = std::array<std::optional<std::int64_t>, 8>;

/// What of a profile goes to the bound camera, in the order of storedControls: what it supports.
///
/// A profile made while a camera did not answer holds -1 for what could not be read.  If it holds a -1
/// that its control cannot have, none of its -1 is written.
ValuesToWrite valuesToWrite(const PreferencesDictionary& profile, const KTUVCManager& manager);

/// Whether all controls that decide it stand at the bound camera's defaults.  Values that are not written
/// decide nothing.
bool areDefaults(const PreferencesDictionary& profile, const KTUVCManager& manager);

} // namespace tavelo::camera_settings
