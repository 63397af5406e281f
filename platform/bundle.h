// SPDX-License-Identifier: MIT
// The program's own resources that depend on the language.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavelo {

/// String tables, one for each localisation.  The tables are constant while the program runs; the languages
/// change where the user chooses another.  Thread-bound to the main thread.
class Bundle {
public:
    virtual ~Bundle() = default;

    /// Names as in "en" or "zh-Hans", in the bundle's order.
    virtual std::vector<std::string> localizations() const = 0;

    /// The user's languages, the most wanted first, as in "zh-Hans-CN" or "de-DE".
    virtual std::vector<std::string> preferredLanguages() const = 0;

    /// The text of `key` in the default table of one localisation; nothing where either is missing.
    virtual std::optional<std::string> string(std::string_view localization, std::string_view key) const = 0;

    /// The text of `key` in the localisation that the system's language selects.  A missing key gives
    /// `defaultValue`, or the key itself where that is empty.
    virtual std::string localizedString(std::string_view key, std::string_view defaultValue) const = 0;
};

} // namespace tavelo
