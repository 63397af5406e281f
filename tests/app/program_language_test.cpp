// SPDX-License-Identifier: MIT
#include "app/program_language.h"

#include <gmock/gmock.h>

#include "support/manual_main_queue.h"
#include "support/memory_preferences_store.h"
#include "text/localizer.h"

namespace tavelo {
namespace {

class ProgramLanguageTest : public ::testing::Test {
protected:
    std::string brightness() const { return bundle_.localizedString("Brightness", {}); }

    ResourceBundle bundle_{{"de-DE"}};
    testing::ManualMainQueue mainQueue_;
    MemoryPreferencesStore preferences_{mainQueue_};
};

TEST_F(ProgramLanguageTest, FollowsTheDesktopWithoutAChoice) {
    const ProgramLanguage language(bundle_, preferences_);
    EXPECT_EQ(language.chosen(), "");
    EXPECT_EQ(brightness(), "Helligkeit");
    EXPECT_TRUE(preferences_.empty());
}

TEST_F(ProgramLanguageTest, ChoiceAppliesAtOnceAndInTheNextRun) {
    ProgramLanguage language(bundle_, preferences_);
    language.choose("es");
    EXPECT_EQ(brightness(), "Brillo");
    EXPECT_TRUE(preferences_.flushed());

    ResourceBundle next({"de-DE"});
    const ProgramLanguage again(next, preferences_);
    EXPECT_EQ(again.chosen(), "es");
    EXPECT_EQ(next.localizedString("Brightness", {}), "Brillo");
}

TEST_F(ProgramLanguageTest, ChoosingTheSystemLanguageRemovesTheStoredChoice) {
    ProgramLanguage language(bundle_, preferences_);
    language.choose("ja");
    language.choose("");
    EXPECT_EQ(brightness(), "Helligkeit");
    const ProgramLanguage again(bundle_, preferences_);
    EXPECT_EQ(again.chosen(), "");
}

TEST_F(ProgramLanguageTest, IgnoresAStoredLanguageWithoutATable) {
    for (const PreferencesValue& stored :
         {PreferencesValue{std::string("tlh")}, PreferencesValue{std::int64_t{7}}, PreferencesValue{true}}) {
        preferences_.setObject(stored, "PreferredLanguage");
        const ProgramLanguage language(bundle_, preferences_);
        EXPECT_EQ(language.chosen(), "");
        EXPECT_EQ(brightness(), "Helligkeit");
    }
}

TEST_F(ProgramLanguageTest, ControlNamesFollowTheChoiceUnlessALanguageIsDeployed) {
    ProgramLanguage language(bundle_, preferences_);
    const Localizer localizer(bundle_, preferences_);
    language.choose("fr");
    EXPECT_EQ(localizer.localizedWith("Hue", "hue"), bundle_.string("fr", "hue"));
    EXPECT_FALSE(preferences_.objectForKey("KTLanguageTypeKey"));
    preferences_.setObject({std::string("ja")}, "KTLanguageTypeKey");
    EXPECT_EQ(localizer.localizedWith("Hue", "hue"), bundle_.string("ja", "hue"));
}

} // namespace
} // namespace tavelo
