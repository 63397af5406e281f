// SPDX-License-Identifier: MIT
// Preferences files that other versions of the program wrote: one for each form that the file ever had, and a
// later one.
#include <algorithm>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "platform/linux/preferences/json_preferences_store.h"
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"
#include "support/synchronized.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string camera = "0x7e10000012090001";
const std::string silentCamera = "0x7e20000012090001"; // did not answer when its record was made
const std::string realCamera = "0x142000000bda58f4";   // known to the command line only

struct Example {
    std::string name;
    std::vector<std::string> cameras;
    std::optional<std::string> language;
    bool hasPlace;
};

const std::vector<Example> earlier{
    {"1-first", {camera, silentCamera}, {}, false},
    {"2-language", {camera, silentCamera}, "de", false},
    {"3-taveloctl", {realCamera, camera, silentCamera}, "de", false},
    {"4-all-controls", {realCamera, camera, silentCamera}, "de", true},
};

class OtherVersions : public ::testing::Test {
protected:
    QString path() const { return folder_.filePath(QStringLiteral("panel.json")); }

    QByteArray content() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QJsonObject object() const { return QJsonDocument::fromJson(content()).object(); }

    void take(const std::string& name) const {
        QFile::remove(path());
        ASSERT_TRUE(QFile::copy(QStringLiteral(EXAMPLES_FOLDER "/%1.json").arg(QString::fromStdString(name)),
                                path()));
        ASSERT_TRUE(QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner));
    }

    static PreferencesDictionary profile(const PreferencesStore& store, const std::string& of,
                                         std::int64_t position) {
        const auto record = storedRecord(store, camera_settings::keyForCamera(of));
        const auto* found = record ? profileAt(*record, position) : nullptr;
        return found != nullptr ? *found : PreferencesDictionary();
    }

    static std::int64_t selectedProfile(const PreferencesStore& store, const std::string& of) {
        return camera_settings::integer(
            profile(store, of, static_cast<std::int64_t>(camera_settings::selectedProfilePosition)),
            camera_settings::selectedProfileKey);
    }

    QTemporaryDir folder_;
    testing::ManualMainQueue mainQueue_;
};

TEST_F(OtherVersions, AllThatEarlierOnesWroteIsRead) {
    using camera_settings::integer;
    for (const Example& example : earlier) {
        SCOPED_TRACE(example.name);
        take(example.name);
        ::testing::internal::CaptureStderr();
        {
            const JsonPreferencesStore store(mainQueue_, path());
            EXPECT_EQ(camerasWithProfiles(store), example.cameras);
            const PreferencesDictionary second = profile(store, camera, 1);
            EXPECT_EQ(integer(second, "kNSUserDefaultsKeyBrightness"), 12);
            EXPECT_EQ(integer(second, "kNSUserDefaultsKeyPanTilt"), -15'461'882'265'600);
            EXPECT_TRUE(camera_settings::boolean(second, camera_settings::mirrorKey));
            EXPECT_FALSE(camera_settings::boolean(profile(store, camera, 0), camera_settings::mirrorKey));
            EXPECT_EQ(selectedProfile(store, camera), 1);
            EXPECT_EQ(integer(profile(store, silentCamera, 3), "kNSUserDefaultsKeyZoom"), -1);
            const auto language = store.objectForKey("PreferredLanguage");
            EXPECT_EQ(language ? std::optional(std::get<std::string>(language->value)) : std::nullopt,
                      example.language);
            EXPECT_EQ(store.objectForKey("AllControlsPlace").has_value(), example.hasPlace);
        }
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    }
}

TEST_F(OtherVersions, ASavedProfileChangesNothingElseOfWhatEarlierOnesWrote) {
    for (const Example& example : earlier) {
        SCOPED_TRACE(example.name);
        take(example.name);
        QJsonObject before = object();
        {
            JsonPreferencesStore store(mainQueue_, path());
            storeProfile(store, camera_settings::keyForCamera(camera), 2,
                         {{"kNSUserDefaultsKeyZoom", {std::int64_t{300}}}}, {});
            EXPECT_TRUE(synchronized(store, mainQueue_));
        }
        QJsonObject after = object();
        const QString key = QString::fromStdString(camera_settings::keyForCamera(camera));
        QJsonArray record = before.value(key).toArray();
        ASSERT_EQ(record.size(), 5);
        record[2] = QJsonObject{{QStringLiteral("kNSUserDefaultsKeyZoom"), 300}};
        before[key] = record;
        EXPECT_EQ(after, before);
        EXPECT_EQ(QDir(folder_.path()).entryList({QStringLiteral("*.broken*")}).size(), 0);
    }
}

TEST_F(OtherVersions, AFileOfALaterOneIsLeftAloneAndSaidSoInOneLine) {
    take("later");
    const QByteArray before = content();
    ::testing::internal::CaptureStderr();
    {
        JsonPreferencesStore store(mainQueue_, path());
        EXPECT_THAT(camerasWithProfiles(store), ElementsAre()) << "what a later format means is not known";
        store.setObject({std::int64_t{1}}, "key");
        EXPECT_FALSE(synchronized(store, mainQueue_));
    }
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("panel.json cannot be read (it is of a later version of the program"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    EXPECT_EQ(content(), before);
    EXPECT_EQ(QDir(folder_.path()).entryList({QStringLiteral("*.broken*")}).size(), 0);
}

TEST_F(OtherVersions, AFormatThatIsNoNumberIsALaterOneToo) {
    for (const char* format : {"\"1\"", "null", "1.5", "0"}) {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("{\"a\": 1, \"Format\": ") + format + "}");
        file.close();
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("a"), std::nullopt) << format;
        EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("later version")) << format;
    }
}

TEST_F(OtherVersions, AFileThatNamesThisFormatIsReadAndWritten) {
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"a": 1, "Format": 1})");
    file.close();
    JsonPreferencesStore store(mainQueue_, path());
    EXPECT_EQ(store.objectForKey("a"), PreferencesValue{std::int64_t{1}});
    store.setObject({std::int64_t{2}}, "a");
    EXPECT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(object().value(QStringLiteral("Format")), QJsonValue(1));
}

TEST_F(OtherVersions, AFileThatALaterOneReplacesMeanwhileIsNotOverwritten) {
    take("1-first");
    JsonPreferencesStore store(mainQueue_, path());
    take("later");
    const QByteArray before = content();
    ::testing::internal::CaptureStderr();
    store.setObject({std::int64_t{1}}, "key");
    EXPECT_FALSE(synchronized(store, mainQueue_));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("later version"));
    EXPECT_EQ(content(), before);
}

} // namespace
} // namespace tavelo
