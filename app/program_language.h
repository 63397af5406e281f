// SPDX-License-Identifier: MIT
// The language that the user chose for this program.
#pragma once

#include <string>

#include "app/resources/resource_bundle.h"
#include "platform/preferences_store.h"

namespace tavelo {

/// Gives one localisation priority over the desktop's languages, and stores the choice in the preferences.
/// Thread-bound to the main thread.
class ProgramLanguage {
public:
    /// Applies the stored choice.  Both must outlive this object.
    ProgramLanguage(ResourceBundle& bundle, PreferencesStore& preferences);

    /// A localisation's name, or empty to follow the desktop.
    const std::string& chosen() const { return chosen_; }

    /// Affects texts that are requested from now on.
    /// @param localization one that the bundle has, or empty to follow the desktop
    void choose(const std::string& localization);

private:
    void apply(const std::string& localization);

    ResourceBundle& bundle_;
    PreferencesStore& preferences_;
    std::string chosen_;
};

} // namespace tavelo
