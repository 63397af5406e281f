// SPDX-License-Identifier: MIT
// The profiles of a camera in the preferences.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/preferences_store.h"

namespace tavelo {

inline constexpr std::int64_t storedProfileCount = 4;

/// The settings record under a camera's key; nothing if none is stored, or something else is.
/// @param key see camera_settings::keyForCamera()
std::optional<PreferencesArray> storedRecord(const PreferencesStore& store, std::string_view key);

/// The profile at a position from 0; null if the record does not have it.
const PreferencesDictionary* profileAt(const PreferencesArray& record, std::int64_t position);

/// Replaces a profile and leaves the others as they are.
/// @param others the profiles of a camera that has no record yet
void storeProfile(PreferencesStore& store, std::string_view key, std::int64_t position,
                  const PreferencesDictionary& profile, const PreferencesDictionary& others);

/// The identifiers of the cameras that have a record, in order.
std::vector<std::string> camerasWithProfiles(const PreferencesStore& store);

} // namespace tavelo
