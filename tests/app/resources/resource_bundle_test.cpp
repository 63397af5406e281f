// SPDX-License-Identifier: MIT
#include "app/resources/resource_bundle.h"

#include <gmock/gmock.h>

#include <QProcess>
#include <QProcessEnvironment>

#include "platform/preferences_store.h"
#include "text/localizer.h"

namespace tavelo {
namespace {

// The bundle's languages with these environment variables.
std::string languagesOfDesktop(const QString& lang, const QString& language = {}) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANGUAGE"})
        environment.remove(QLatin1String(name));
    environment.insert(QStringLiteral("LANG"), lang);
    if (!language.isEmpty()) environment.insert(QStringLiteral("LANGUAGE"), language);
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(PRINT_LANGUAGES), QStringList());
    program.waitForFinished();
    return program.readAllStandardOutput().simplified().toStdString();
}

class NoPreferences : public PreferencesStore {
public:
    std::optional<PreferencesValue> objectForKey(std::string_view) const override { return std::nullopt; }
    void setObject(const PreferencesValue&, std::string_view) override {}
    void setObjectIfMissing(const PreferencesValue&, std::string_view) override {}
    std::vector<std::string> keys() const override { return {}; }
    void synchronize(SynchronizeHandler) override {}
};

TEST(LanguageName, WritesLocalesAsLocalisationsAreNamed) {
    EXPECT_EQ(languageName("zh_CN"), "zh-Hans-CN");
    EXPECT_EQ(languageName("zh-TW"), "zh-Hant-TW");
    EXPECT_EQ(languageName("zh-Hans-SG"), "zh-Hans-SG");
    EXPECT_EQ(languageName("de_DE.UTF-8"), "de-DE");
    EXPECT_EQ(languageName("de-Latn-DE"), "de-DE");
    EXPECT_EQ(languageName("de"), "de-DE");
    EXPECT_EQ(languageName("ja-JP"), "ja-JP");
    EXPECT_EQ(languageName("es-419"), "es-419");
    EXPECT_EQ(languageName("C"), "en-US");
    EXPECT_EQ(languageName("no language at all"), "en-US");
    EXPECT_EQ(languageName(""), "en-US");
}

TEST(ResourceBundle, TakesTheLanguageFromTheDesktop) {
    EXPECT_EQ(languagesOfDesktop(QStringLiteral("de_AT.UTF-8")), "de-AT");
    EXPECT_EQ(languagesOfDesktop(QStringLiteral("zh_CN.UTF-8")), "zh-Hans-CN");
}

TEST(ResourceBundle, ListsEachOfSeveralDesktopLanguagesOnce) {
    EXPECT_EQ(languagesOfDesktop(QStringLiteral("fr_FR.UTF-8"), QStringLiteral("es:zh_CN")),
              "es-ES zh-Hans-CN");
}

TEST(ResourceBundle, UsesEnglishOnADesktopWithoutLanguage) {
    EXPECT_EQ(languagesOfDesktop(QStringLiteral("C")), "en-US");
}

TEST(ResourceBundle, UsesTheLanguageOfTheUser) {
    EXPECT_EQ(ResourceBundle({"de-AT"}).localizedString("Brightness", ""), "Helligkeit");
}

TEST(ResourceBundle, TakesTheFirstPreferredLanguageThatItHas) {
    const ResourceBundle bundle({"pt-PT", "ja-JP", "de-DE"});
    EXPECT_EQ(bundle.localizedString("Zoom", ""), "ズーム");
}

TEST(ResourceBundle, FallsBackToEnglishIfItHasNoneOfTheLanguages) {
    EXPECT_EQ(ResourceBundle({"pt-PT"}).localizedString("Saturation", ""), "Saturation");
    EXPECT_EQ(ResourceBundle(std::vector<std::string>{}).localizedString("Saturation", ""), "Saturation");
}

TEST(ResourceBundle, DoesNotShowSimplifiedChineseToReadersOfTraditionalChinese) {
    EXPECT_EQ(ResourceBundle({"zh-Hant-TW"}).localizedString("Contrast", ""), "Contrast");
    EXPECT_EQ(ResourceBundle({"zh-Hans-CN"}).localizedString("Contrast", ""), "对比度");
}

TEST(ResourceBundle, ReturnsTheDefaultOrElseTheKeyForAMissingKey) {
    const ResourceBundle bundle({"de-DE"});
    EXPECT_EQ(bundle.localizedString("no_such_key", "Some text"), "Some text");
    EXPECT_EQ(bundle.localizedString("no_such_key", ""), "no_such_key");
}

TEST(ResourceBundle, ReadsOneLocalisationByItsName) {
    const ResourceBundle bundle({"en-US"});
    EXPECT_EQ(bundle.string("fr", "sharpness"), "Netteté");
    EXPECT_EQ(bundle.string("fr", "no_such_key"), std::nullopt);
    EXPECT_EQ(bundle.string("tlh", "sharpness"), std::nullopt);
}

TEST(ResourceBundle, GivesTheLocalizerTheSystemsLanguage) {
    const NoPreferences preferences;
    const ResourceBundle chinese({"zh-Hans-CN"});
    EXPECT_EQ(Localizer(chinese, preferences).localizedWith("Auto Focus", "auto_focus"), "自动对焦");
    EXPECT_EQ(Localizer(chinese, preferences).localizedWith("Auto Focus", "no_such_key"), "Auto Focus");
    const ResourceBundle portuguese({"pt-BR"});
    EXPECT_EQ(Localizer(portuguese, preferences).localizedWith("Auto Focus", "auto_focus"), "Auto Focus");
}

} // namespace
} // namespace tavelo
