// SPDX-License-Identifier: MIT
// Saves profiles into the cameras' settings records.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/preferences_store.h"

namespace tavelo {

/// Puts profiles into the preferences, and takes them out again if they could not be written, so that a
/// profile is what the disk has of it.  Thread-bound to the main thread.
class ProfileSaves {
public:
    /// @param store outlives this
    explicit ProfileSaves(PreferencesStore& store);
    ~ProfileSaves();

    ProfileSaves(const ProfileSaves&) = delete;
    ProfileSaves& operator=(const ProfileSaves&) = delete;

    /// @param key of a record that has a profile at `position`
    /// @param ended gets true once the profile is on the disk, false if it could not be written; later, on
    /// the main thread, and never once this is gone
    void save(const std::string& key, std::size_t position, const PreferencesDictionary& profile,
              std::function<void(bool saved)> ended);

private:
    struct State;
    const std::shared_ptr<State> state_;
};

} // namespace tavelo
