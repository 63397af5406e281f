// SPDX-License-Identifier: MIT
// The string tables that are built into the program.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/resources/string_table.h"
#include "platform/bundle.h"

namespace tavelo {

/// Reads all string tables from Qt's resources when it is created.  Prefers the language that the user chose
/// for this program, then the desktop's languages.
class ResourceBundle : public Bundle {
public:
    /// Uses the languages of the user's desktop.
    ResourceBundle();
    /// @param preferredLanguages the most preferred first
    explicit ResourceBundle(std::vector<std::string> preferredLanguages);

    /// Prefers a language over the desktop's; an empty string undoes that.
    void preferLanguage(std::string language) { chosenLanguage_ = std::move(language); }

    std::vector<std::string> localizations() const override;
    std::vector<std::string> preferredLanguages() const override;
    std::optional<std::string> string(std::string_view localization, std::string_view key) const override;
    std::string localizedString(std::string_view key, std::string_view defaultValue) const override;

private:
    static std::vector<StringTable> readTables();
    const StringTable& systemTable() const;

    const std::vector<std::string> desktopLanguages_;
    std::string chosenLanguage_;
    const std::vector<StringTable>
        tables_; // in the menu's order; English is first because it is the fallback
};

/// The name that localisations are compared with: language and territory; Chinese also has its script,
/// because each script has its own localisation.  "de-DE" for "de_DE.UTF-8", "de-Latn-DE" and "de";
/// "zh-Hans-CN" for "zh_CN"; "en-US" for "C" and for anything that names no language.
std::string languageName(std::string_view locale);

} // namespace tavelo
