// SPDX-License-Identifier: MIT
// The language that the user chose for this program.
#pragma once

#include <string>

#include "app/resources/resource_bundle.h"
#include "platform/preferences_store.h"

namespace tavelo {

/// Puts one localisation before the desktop's languages, and keeps the choice in the preferences.
/// Thread-bound to the main thread.
class ProgramLanguage {
public:
    /// Takes up the choice of earlier runs.  Both outlive this object.
    ProgramLanguage(ResourceBundle& bundle, PreferencesStore& preferences);

    /// A localisation's name; empty: as the desktop says.
    const std::string& chosen() const { return chosen_; }

    /// Texts asked for afterwards are in this language.
    /// @param localization one that the bundle has, or empty
    void choose(const std::string& localization);

private:
    void apply(const std::string& localization);

    ResourceBundle& bundle_;
    PreferencesStore& preferences_;
    std::string chosen_;
};

} // namespace tavelo
