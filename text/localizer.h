// SPDX-License-Identifier: MIT
// Translates the program's English texts.
#pragma once

#include <string>
#include <string_view>

namespace tavelo {

class Bundle;
class PreferencesStore;

/// Texts in the language that the user chose in the program, otherwise in the system's.
///
/// Main thread only, like the preferences.  The language is read on every call, so a change applies to later
/// calls.
class Localizer {
public:
    /// Both must outlive the localizer.
    Localizer(const Bundle& bundle, const PreferencesStore& preferences);

    /// @param text the English text, used if no table has an entry
    /// @param key the entry of the string tables
    std::string localizedWith(std::string_view text, std::string_view key) const;

private:
    std::string systemText(std::string_view text, std::string_view key) const;

    const Bundle& bundle_;
    const PreferencesStore& preferences_;
};

} // namespace tavelo
