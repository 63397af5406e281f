// SPDX-License-Identifier: MIT
#include "platform/linux/json_preferences_store.h"

#include <sys/file.h>

#include <algorithm>
#include <chrono>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace tavelo {
namespace {

using testing::HasSubstr;

PreferencesValue number(std::int64_t value) {
    return {value};
}

class Store : public testing::Test {
protected:
    QString path() const { return folder_.filePath(QStringLiteral("settings/panel.json")); }

    void write(const QByteArray& content) const {
        QDir().mkpath(folder_.filePath(QStringLiteral("settings")));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QByteArray content(const QString& suffix = {}) const {
        QFile file(path() + suffix);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir folder_;
};

TEST_F(Store, IsEmptyWithoutAFile) {
    JsonPreferencesStore store(path());
    EXPECT_EQ(store.objectForKey("anything"), std::nullopt);
    EXPECT_TRUE(store.synchronize());
    EXPECT_FALSE(QFile::exists(path())) << "nothing was set, nothing is written";
}

TEST_F(Store, AnswersAtOnceAndWritesWhenAsked) {
    JsonPreferencesStore store(path());
    store.setObject(number(7), "key");
    EXPECT_EQ(store.objectForKey("key"), number(7));
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(JsonPreferencesStore(path()).objectForKey("key"), number(7));
}

TEST_F(Store, TakesAnyTextForAKey) {
    const std::string odd[] = {"",     "a/b",    "back\\slash",
                               "100%", "日本語", "kNSUserDefaultsKeyCameraSettings_0x14"};
    JsonPreferencesStore store(path());
    for (const std::string& key : odd)
        store.setObject({key}, key);
    ASSERT_TRUE(store.synchronize());
    const JsonPreferencesStore reader(path());
    for (const std::string& key : odd)
        EXPECT_EQ(reader.objectForKey(key), PreferencesValue{key}) << key;
}

TEST_F(Store, ASecondStoreSeesWhatTheFirstWrote) {
    const JsonPreferencesStore reader(path());
    EXPECT_EQ(reader.objectForKey("key"), std::nullopt);
    JsonPreferencesStore writer(path());
    for (std::int64_t value = 10; value < 60; ++value) { // same size each time, within the clock's resolution
        writer.setObject(number(value), "key");
        ASSERT_TRUE(writer.synchronize());
        EXPECT_EQ(reader.objectForKey("key"), number(value));
    }
}

TEST_F(Store, KeepsWhatAnotherStoreWroteMeanwhile) {
    JsonPreferencesStore first(path());
    JsonPreferencesStore second(path());
    first.setObject(number(1), "first");
    second.setObject(number(2), "second");
    EXPECT_TRUE(first.synchronize());
    EXPECT_TRUE(second.synchronize());
    const JsonPreferencesStore reader(path());
    EXPECT_EQ(reader.objectForKey("first"), number(1));
    EXPECT_EQ(reader.objectForKey("second"), number(2));
}

TEST_F(Store, DoesNotBringBackAnOldValueOfAKeyThatItDidNotSet) {
    JsonPreferencesStore store(path());
    store.setObject(number(1), "shared");
    ASSERT_TRUE(store.synchronize());
    JsonPreferencesStore other(path());
    other.setObject(number(2), "shared");
    ASSERT_TRUE(other.synchronize());
    store.setObject(number(3), "own");
    ASSERT_TRUE(store.synchronize());
    EXPECT_EQ(JsonPreferencesStore(path()).objectForKey("shared"), number(2));
}

TEST_F(Store, KeepsWhatItDoesNotUnderstand) {
    write(R"({"later": null, "list": [null, {"x": null}], "key": 1})");
    JsonPreferencesStore store(path());
    store.setObject(number(2), "key");
    ASSERT_TRUE(store.synchronize());
    EXPECT_THAT(content().simplified().toStdString(),
                testing::AllOf(HasSubstr("\"later\": null"), HasSubstr("[ null, { \"x\": null } ]")));
}

TEST_F(Store, KeepsABrokenFileAsideSaysSoAndBeginsEmpty) {
    write("{\"key\": 1, ");
    testing::internal::CaptureStderr();
    JsonPreferencesStore store(path());
    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("does not parse"));
    EXPECT_THAT(said, HasSubstr("panel.json.broken"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    EXPECT_EQ(content(QStringLiteral(".broken")), "{\"key\": 1, ");
    EXPECT_FALSE(QFile::exists(path()));

    store.setObject(number(2), "key");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(JsonPreferencesStore(path()).objectForKey("key"), number(2));
}

TEST_F(Store, KeepsEveryBrokenFile) {
    for (const char* broken : {"first", "[1, 2]", ""}) {
        write(broken);
        testing::internal::CaptureStderr();
        JsonPreferencesStore store(path());
        store.setObject(number(1), "key");
        EXPECT_TRUE(store.synchronize());
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("does not parse")) << broken;
    }
    EXPECT_EQ(content(QStringLiteral(".broken")), "first");
    EXPECT_EQ(content(QStringLiteral(".broken-2")), "[1, 2]");
    EXPECT_TRUE(QFile::exists(path() + QStringLiteral(".broken-3")));
}

TEST_F(Store, ReportsAFolderThatCannotBeMadeAndKeepsTheValue) {
    QFile obstacle(folder_.filePath(QStringLiteral("settings")));
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    testing::internal::CaptureStderr();
    JsonPreferencesStore store(path());
    store.setObject(number(1), "key");
    EXPECT_FALSE(store.synchronize());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot create the folder"));
    EXPECT_EQ(store.objectForKey("key"), number(1));

    obstacle.remove();
    EXPECT_TRUE(store.synchronize()) << "written once it can be";
    EXPECT_EQ(JsonPreferencesStore(path()).objectForKey("key"), number(1));
}

TEST_F(Store, DoesNotReplaceWhatItCannotRead) {
    ASSERT_TRUE(QDir().mkpath(path())); // a folder in the file's place
    testing::internal::CaptureStderr();
    JsonPreferencesStore store(path());
    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("cannot be read"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << "once is enough";

    testing::internal::CaptureStderr();
    store.setObject(number(1), "key");
    EXPECT_FALSE(store.synchronize());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot be read"));
    EXPECT_TRUE(QFileInfo(path()).isDir());
}

TEST_F(Store, GivesUpOnALockThatAnotherProgramKeeps) {
    write("{}");
    QFile lock(path() + QStringLiteral(".lock"));
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
    testing::internal::CaptureStderr();
    JsonPreferencesStore store(path(), std::chrono::milliseconds(20));
    store.setObject(number(1), "key");
    EXPECT_FALSE(store.synchronize());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("another program holds the lock"));
    EXPECT_EQ(content(), "{}");

    lock.close();
    EXPECT_TRUE(store.synchronize());
}

TEST_F(Store, WritesThroughALinkToTheFile) {
    write(R"({"key": 1})");
    const QString link = folder_.filePath(QStringLiteral("link.json"));
    ASSERT_TRUE(QFile::link(path(), link));
    JsonPreferencesStore store(link);
    store.setObject(number(2), "key");
    EXPECT_TRUE(store.synchronize());
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(JsonPreferencesStore(path()).objectForKey("key"), number(2));
}

TEST(UserFile, LiesInTheConfigurationFolderOfTheUser) {
    const QByteArray before = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", "/some/where");
    EXPECT_EQ(JsonPreferencesStore::userFile(), QStringLiteral("/some/where/tavelo/control-panel.json"));
    qunsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(JsonPreferencesStore::userFile(),
              QDir::homePath() + QStringLiteral("/.config/tavelo/control-panel.json"));
    if (!before.isNull()) qputenv("XDG_CONFIG_HOME", before);
}

} // namespace
} // namespace tavelo
