// SPDX-License-Identifier: MIT
// Profiles as JSON, for people and other machines.
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/preferences_store.h"

namespace tavelo {

/// The entries of a profile that people see, in the order of the profile: the names of controls, "pan" and
/// "tilt" apart, and "mirror".
const std::vector<std::string>& profileEntryNames();

/// "-" if the profile does not have it.
std::string profileEntryText(const PreferencesDictionary& profile, const std::string& name);

/// The four profiles of a settings record.
QJsonArray profilesJson(const PreferencesArray& record);

/// The profiles of some cameras, by identifier.
using ProfilesOfCameras = std::map<std::string, std::vector<PreferencesDictionary>>;

/// A file for `import`.
QByteArray profileFile(const std::map<std::string, PreferencesArray>& records);

/// Reads such a file.  Nothing, with the reason, if anything in it is wrong.
std::optional<ProfilesOfCameras> readProfileFile(const QByteArray& text, std::string& reason);

/// A settings record with these profiles; keeps what they do not name.
/// @param stored the record so far, or nothing
PreferencesArray withProfiles(const std::optional<PreferencesArray>& stored,
                              const std::vector<PreferencesDictionary>& profiles);

} // namespace tavelo
