// SPDX-License-Identifier: MIT
// The program's translated texts.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavelo {

/// String tables, one per localisation.  The tables are constant while the program runs; the languages change
/// when the user chooses another.  Main thread only.
class Bundle {
public:
    virtual ~Bundle() = default;

    /// Names such as "en" or "zh-Hans", in the bundle's order.
    virtual std::vector<std::string> localizations() const = 0;

    /// The user's languages, most preferred first, such as "zh-Hans-CN" or "de-DE".
    virtual std::vector<std::string> preferredLanguages() const = 0;

    /// The text of `key` in the default table of one localisation; nothing if either is missing.
    virtual std::optional<std::string> string(std::string_view localization, std::string_view key) const = 0;

    /// The text of `key` in the localisation that the system's language selects.  A missing key gives
    /// `defaultValue`, or the key itself if that is empty.
    virtual std::string localizedString(std::string_view key, std::string_view defaultValue) const = 0;
};

} // namespace tavelo
