// SPDX-License-Identifier: MIT
// The string tables that are built into the program.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/bundle.h"

namespace tavelo {

/// String tables in Qt's resources, languages as the desktop gives them, with the one that the user chose for
/// this program before them.  Reads everything when made.  Artwork lies beside the tables, as
/// ":/images/NAME.svg".
class ResourceBundle : public Bundle {
public:
    /// With the languages of the user's desktop.
    ResourceBundle();
    /// @param preferredLanguages the most wanted first
    explicit ResourceBundle(std::vector<std::string> preferredLanguages);

    /// Puts a language before the desktop's; an empty one takes that back.
    void preferLanguage(std::string language) { chosenLanguage_ = std::move(language); }

    std::vector<std::string> localizations() const override;
    std::vector<std::string> preferredLanguages() const override;
    std::optional<std::string> string(std::string_view localization, std::string_view key) const override;
    std::string localizedString(std::string_view key, std::string_view defaultValue) const override;

private:
    using Table = std::map<std::string, std::string, std::less<>>;

    const Table& systemTable() const;

    const std::vector<std::string> desktopLanguages_;
    std::string chosenLanguage_;
    const std::map<std::string, Table, std::less<>> tables_;
};

/// A locale's name as localisations are matched with: language and territory, and between them the script of
/// Chinese, whose scripts are localisations of their own.  "de-DE" for "de_DE.UTF-8", "de-Latn-DE" and "de",
/// "zh-Hans-CN" for "zh_CN"; "en-US" for "C" and whatever names no language.
std::string languageName(std::string_view locale);

} // namespace tavelo
