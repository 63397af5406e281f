// SPDX-License-Identifier: MIT
// Saves profiles in the cameras' settings records.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/preferences_store.h"

namespace tavelo {

/// Stores profiles in the preferences, and restores the previous profile if the file cannot be written, so
/// that memory and disk agree.  Thread-bound to the main thread.
class ProfileSaves {
public:
    /// @param store must outlive this object
    explicit ProfileSaves(PreferencesStore& store);
    ~ProfileSaves();

    ProfileSaves(const ProfileSaves&) = delete;
    ProfileSaves& operator=(const ProfileSaves&) = delete;

    /// @param key of a record that has a profile at `position`
    /// @param ended called later on the main thread: true once the profile is on the disk, false if it could
    /// not be written.  Not called after this object is destroyed.
    void save(const std::string& key, std::size_t position, const PreferencesDictionary& profile,
              std::function<void(bool saved)> ended);

private:
    struct State;
    const std::shared_ptr<State> state_;
};

} // namespace tavelo
