// SPDX-License-Identifier: MIT
#include "app/program_language.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <variant>

namespace tavelo {
namespace {

// Not "KTLanguageTypeKey": that key is set by whoever deploys the program, applies to the controls' names
// only, and is never written by the program.
constexpr std::string_view preferencesKey = "PreferredLanguage";

} // namespace

ProgramLanguage::ProgramLanguage(ResourceBundle& bundle, PreferencesStore& preferences)
    : bundle_(bundle),
      preferences_(preferences) {
    const std::optional<PreferencesValue> stored = preferences_.objectForKey(preferencesKey);
    if (!stored) return;
    if (const auto* localization = std::get_if<std::string>(&stored->value)) apply(*localization);
}

void ProgramLanguage::choose(const std::string& localization) {
    apply(localization);
    preferences_.setObject({chosen_}, preferencesKey);
    preferences_.synchronize({});
}

void ProgramLanguage::apply(const std::string& localization) {
    const std::vector<std::string> known = bundle_.localizations();
    chosen_ = std::ranges::find(known, localization) != known.end() ? localization : std::string();
    bundle_.preferLanguage(chosen_);
}

} // namespace tavelo
