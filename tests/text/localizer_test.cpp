// SPDX-License-Identifier: MIT
#include "text/localizer.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

#include "platform/bundle.h"
#include "platform/preferences_store.h"

namespace tavelo {
namespace {

/// A bundle whose system-wide selection is set by the test.
class FakeBundle : public Bundle {
public:
    std::vector<std::string> localizations() const override { return names; }
    std::vector<std::string> preferredLanguages() const override { return languages; }

    std::optional<std::string> string(std::string_view localization, std::string_view key) const override {
        const auto table = tables.find(std::string(localization));
        if (table == tables.end()) return std::nullopt;
        const auto entry = table->second.find(std::string(key));
        return entry == table->second.end() ? std::nullopt : std::optional(entry->second);
    }

    std::string localizedString(std::string_view key, std::string_view defaultValue) const override {
        return string(systemSelection, key).value_or(std::string(defaultValue.empty() ? key : defaultValue));
    }

    std::vector<std::string> names{"en", "zh-Hans"};
    std::vector<std::string> languages;
    std::string systemSelection = "en";
    std::map<std::string, std::map<std::string, std::string>> tables{
        {"en", {{"zoom", "Zoom factor"}, {"iris", "Iris opening"}}},
        {"zh-Hans", {{"zoom", "缩放"}}},
    };
};

class FakePreferences : public PreferencesStore {
public:
    std::optional<PreferencesValue> objectForKey(std::string_view key) const override {
        const auto found = values.find(std::string(key));
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    void setObject(const PreferencesValue& value, std::string_view key) override {
        values[std::string(key)] = value;
    }
    void setObjectIfMissing(const PreferencesValue& value, std::string_view key) override {
        values.try_emplace(std::string(key), value);
    }
    std::vector<std::string> keys() const override { return {}; }
    void synchronize(SynchronizeHandler) override {}

    std::map<std::string, PreferencesValue> values;
};

class LocalizerTest : public ::testing::Test {
protected:
    void chooseLanguage(std::string name) {
        preferences.setObject(PreferencesValue{std::move(name)}, "KTLanguageTypeKey");
    }

    FakeBundle bundle;
    FakePreferences preferences;
    Localizer localizer{bundle, preferences};
};

TEST_F(LocalizerTest, ChosenLanguageGivesItsText) {
    bundle.languages = {"en-GB"};
    chooseLanguage("zh-Hans");
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "缩放");
}

TEST_F(LocalizerTest, ChosenLanguageWithoutTheKeyGivesTheEnglishText) {
    chooseLanguage("zh-Hans");
    EXPECT_EQ(localizer.localizedWith("Iris", "iris"), "Iris");
}

TEST_F(LocalizerTest, ChosenLanguageWithoutLocalisationKeepsEveryTextInEnglish) {
    bundle.languages = {"zh-Hans-CN"};
    bundle.systemSelection = "zh-Hans";
    chooseLanguage("fr");
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom");
    EXPECT_EQ(localizer.localizedWith("Iris", "iris"), "Iris");
}

TEST_F(LocalizerTest, ChosenLanguageThatIsNotAStringKeepsTheEnglishText) {
    bundle.languages = {"en-GB"};
    preferences.setObject(PreferencesValue{std::int64_t{7}}, "KTLanguageTypeKey");
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom");
}

TEST_F(LocalizerTest, NoPreferredLanguageGivesTheEnglishText) {
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom");
}

TEST_F(LocalizerTest, UnknownSystemLanguageUsesTheEnLocalisation) {
    bundle.languages = {"de-DE", "zh-Hans-CN"};
    bundle.systemSelection = "zh-Hans";
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom factor");
    EXPECT_EQ(localizer.localizedWith("Focus", "focus"), "Focus");
}

TEST_F(LocalizerTest, UnknownSystemLanguageWithoutEnLocalisationGivesTheEnglishText) {
    bundle.languages = {"de-DE"};
    bundle.names = {"zh-Hans"};
    bundle.tables.erase("en");
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom");
}

TEST_F(LocalizerTest, KnownSystemLanguageUsesTheSystemsOwnLookup) {
    bundle.languages = {"zh-Hans-CN"};
    bundle.systemSelection = "zh-Hans";
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "缩放");
}

TEST_F(LocalizerTest, KeyMissingInTheSystemsLookupGivesTheEnglishTextAndNotTheKey) {
    bundle.languages = {"zh-Hans-CN"};
    bundle.systemSelection = "zh-Hans";
    EXPECT_EQ(localizer.localizedWith("Auto Focus", "auto_focus"), "Auto Focus");
}

TEST_F(LocalizerTest, LocalisationMatchesAsPrefixOfTheSystemLanguage) {
    bundle.languages = {"en-GB"};
    bundle.systemSelection = "zh-Hans"; // differs from the "en" table
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "缩放");
    bundle.languages = {"zh"}; // shorter than the localisation's name: no match, so "en"
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom factor");
}

TEST_F(LocalizerTest, ReadsTheLanguageOnEveryCall) {
    bundle.languages = {"en-GB"};
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom factor");
    chooseLanguage("zh-Hans");
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "缩放");
    preferences.values.clear();
    EXPECT_EQ(localizer.localizedWith("Zoom", "zoom"), "Zoom factor");
}

} // namespace
} // namespace tavelo
