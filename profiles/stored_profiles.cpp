// SPDX-License-Identifier: MIT
#include "profiles/stored_profiles.h"

#include <algorithm>
#include <utility>

#include "profiles/camera_settings.h"

namespace tavelo {
std::optional<PreferencesArray> storedRecord(const PreferencesStore& store, std::string_view key) {
    auto object = store.objectForKey(key);
    auto* record = object ? std::get_if<PreferencesArray>(&object->value) : nullptr;
    return record != nullptr ? std::optional(std::move(*record)) : std::nullopt;
}

const PreferencesDictionary* profileAt(const PreferencesArray& record, std::int64_t position) {
    if (position < 0 || static_cast<std::size_t>(position) >= record.size()) return nullptr;
    return std::get_if<PreferencesDictionary>(&record[static_cast<std::size_t>(position)].value);
}

void storeProfile(PreferencesStore& store, std::string_view key, std::int64_t position,
                  const PreferencesDictionary& profile, const PreferencesDictionary& others) {
    auto record = storedRecord(store, key);
    if (!record) record = camera_settings::newRecord(others, -1);
    while (record->size() <= static_cast<std::size_t>(position))
        record->push_back({others});
    (*record)[static_cast<std::size_t>(position)] = {profile};
    store.setObject({*record}, key);
}

std::vector<std::string> camerasWithProfiles(const PreferencesStore& store) {
    std::vector<std::string> cameras;
    const std::string prefix = camera_settings::keyForCamera({});
    for (const std::string& key : store.keys())
        if (key.starts_with(prefix) && storedRecord(store, key)) cameras.push_back(key.substr(prefix.size()));
    std::ranges::sort(cameras);
    return cameras;
}

} // namespace tavelo
