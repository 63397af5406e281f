// SPDX-License-Identifier: MIT
// Finds the text to show for an English text.
#pragma once

#include <string>
#include <string_view>

namespace tavelo {

class Bundle;
class PreferencesStore;

/// Texts in the language that the user chose in the program, or else in the system's.
///
/// Thread-bound to the main thread, as the preferences are.  The language is read anew on every call, so a
/// change holds for the texts asked for afterwards.
class Localizer {
public:
    /// Both must outlive the localizer.
    Localizer(const Bundle& bundle, const PreferencesStore& preferences);

    /// @param text the English text, shown where no table has an entry
    /// @param key the entry of the string tables
    std::string localizedWith(std::string_view text, std::string_view key) const;

private:
    std::string systemText(std::string_view text, std::string_view key) const;

    const Bundle& bundle_;
    const PreferencesStore& preferences_;
};

} // namespace tavelo
