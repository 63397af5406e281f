// SPDX-License-Identifier: MIT
#include "text/localizer.h"

#include <algorithm>
#include <optional>
#include <variant>
#include <vector>

#include "platform/bundle.h"
#include "platform/preferences_store.h"

namespace tavelo {

Localizer::Localizer(const Bundle& bundle, const PreferencesStore& preferences)
    : bundle_(bundle),
      preferences_(preferences) {}

std::string Localizer::localizedWith(std::string_view text, std::string_view key) const {
    const std::optional<PreferencesValue> chosen = preferences_.objectForKey("KTLanguageTypeKey");
    if (!chosen) return systemText(text, key);

    // A value that is not a text names no localisation.
    const auto* language = std::get_if<std::string>(&chosen->value);
    if (language == nullptr) return std::string(text);
    return bundle_.string(*language, key).value_or(std::string(text));
}

std::string Localizer::systemText(std::string_view text, std::string_view key) const {
    const std::vector<std::string> languages = bundle_.preferredLanguages();
    if (languages.empty()) return std::string(text);

    const std::string& language = languages.front();
    const std::vector<std::string> localizations = bundle_.localizations();
    const bool known = std::any_of(localizations.begin(), localizations.end(),
                                   [&](const std::string& name) { return language.starts_with(name); });
    if (!known) return bundle_.string("en", key).value_or(std::string(text));

    std::string found = bundle_.localizedString(key, {});
    return found == key ? std::string(text) : found;
}

} // namespace tavelo
