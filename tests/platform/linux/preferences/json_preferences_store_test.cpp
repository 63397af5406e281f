// SPDX-License-Identifier: MIT
#include "platform/linux/preferences/json_preferences_store.h"

#include <sys/file.h>

#include <algorithm>
#include <chrono>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "support/synchronized.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;

PreferencesValue number(std::int64_t value) {
    return {value};
}

class Store : public ::testing::Test {
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
    testing::ManualMainQueue mainQueue_;
};

TEST_F(Store, IsEmptyWithoutAFile) {
    JsonPreferencesStore store(mainQueue_, path());
    EXPECT_EQ(store.objectForKey("anything"), std::nullopt);
    EXPECT_TRUE(synchronized(store, mainQueue_));
    EXPECT_FALSE(QFile::exists(path())) << "nothing was set, nothing is written";
}

TEST_F(Store, AnswersAtOnceAndWritesWhenAsked) {
    JsonPreferencesStore store(mainQueue_, path());
    store.setObject(number(7), "key");
    EXPECT_EQ(store.objectForKey("key"), number(7));
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("key"), number(7));
}

TEST_F(Store, TakesAnyTextForAKey) {
    const std::string odd[] = {"",     "a/b",    "back\\slash",
                               "100%", "日本語", "kNSUserDefaultsKeyCameraSettings_0x14"};
    JsonPreferencesStore store(mainQueue_, path());
    for (const std::string& key : odd)
        store.setObject({key}, key);
    ASSERT_TRUE(synchronized(store, mainQueue_));
    const JsonPreferencesStore reader(mainQueue_, path());
    for (const std::string& key : odd)
        EXPECT_EQ(reader.objectForKey(key), PreferencesValue{key}) << key;
}

TEST_F(Store, ASecondStoreSeesWhatTheFirstWrote) {
    const JsonPreferencesStore reader(mainQueue_, path());
    EXPECT_EQ(reader.objectForKey("key"), std::nullopt);
    JsonPreferencesStore writer(mainQueue_, path());
    for (std::int64_t value = 10; value < 60; ++value) { // same size each time, within the clock's resolution
        writer.setObject(number(value), "key");
        ASSERT_TRUE(synchronized(writer, mainQueue_));
        EXPECT_TRUE(mainQueue_.runUntil([&] { return reader.objectForKey("key") == number(value); }));
    }
}

TEST_F(Store, KeepsWhatAnotherStoreWroteMeanwhile) {
    JsonPreferencesStore first(mainQueue_, path());
    JsonPreferencesStore second(mainQueue_, path());
    first.setObject(number(1), "first");
    second.setObject(number(2), "second");
    EXPECT_TRUE(synchronized(first, mainQueue_));
    EXPECT_TRUE(synchronized(second, mainQueue_));
    const JsonPreferencesStore reader(mainQueue_, path());
    EXPECT_EQ(reader.objectForKey("first"), number(1));
    EXPECT_EQ(reader.objectForKey("second"), number(2));
}

TEST_F(Store, DoesNotBringBackAnOldValueOfAKeyThatItDidNotSet) {
    JsonPreferencesStore store(mainQueue_, path());
    store.setObject(number(1), "shared");
    ASSERT_TRUE(synchronized(store, mainQueue_));
    JsonPreferencesStore other(mainQueue_, path());
    other.setObject(number(2), "shared");
    ASSERT_TRUE(synchronized(other, mainQueue_));
    store.setObject(number(3), "own");
    ASSERT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("shared"), number(2));
}

TEST_F(Store, KeepsWhatItDoesNotUnderstand) {
    write(R"({"later": null, "list": [null, {"x": null}], "key": 1})");
    JsonPreferencesStore store(mainQueue_, path());
    store.setObject(number(2), "key");
    ASSERT_TRUE(synchronized(store, mainQueue_));
    EXPECT_THAT(content().simplified().toStdString(),
                ::testing::AllOf(HasSubstr("\"later\": null"), HasSubstr("[ null, { \"x\": null } ]")));
}

TEST_F(Store, KeepsABrokenFileAsideSaysSoAndBeginsEmpty) {
    write("{\"key\": 1, ");
    ::testing::internal::CaptureStderr();
    JsonPreferencesStore store(mainQueue_, path());
    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    EXPECT_TRUE(synchronized(store, mainQueue_)) << "after the file was looked at";
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("does not parse"));
    EXPECT_THAT(said, HasSubstr("panel.json.broken"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    EXPECT_EQ(content(QStringLiteral(".broken")), "{\"key\": 1, ");
    EXPECT_FALSE(QFile::exists(path()));

    store.setObject(number(2), "key");
    EXPECT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("key"), number(2));
}

TEST_F(Store, KeepsEveryBrokenFile) {
    for (const char* broken : {"first", "[1, 2]", ""}) {
        write(broken);
        ::testing::internal::CaptureStderr();
        JsonPreferencesStore store(mainQueue_, path());
        store.setObject(number(1), "key");
        EXPECT_TRUE(synchronized(store, mainQueue_));
        EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("does not parse")) << broken;
    }
    EXPECT_EQ(content(QStringLiteral(".broken")), "first");
    EXPECT_EQ(content(QStringLiteral(".broken-2")), "[1, 2]");
    EXPECT_TRUE(QFile::exists(path() + QStringLiteral(".broken-3")));
}

TEST_F(Store, ReportsAFolderThatCannotBeMadeAndKeepsTheValue) {
    QFile obstacle(folder_.filePath(QStringLiteral("settings")));
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    ::testing::internal::CaptureStderr();
    JsonPreferencesStore store(mainQueue_, path());
    store.setObject(number(1), "key");
    EXPECT_FALSE(synchronized(store, mainQueue_));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("cannot create the folder"));
    EXPECT_EQ(store.objectForKey("key"), number(1));

    obstacle.remove();
    EXPECT_TRUE(synchronized(store, mainQueue_)) << "written once it can be";
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("key"), number(1));
}

TEST_F(Store, DoesNotReplaceWhatItCannotRead) {
    ASSERT_TRUE(QDir().mkpath(path())); // a folder at the file's path
    ::testing::internal::CaptureStderr();
    JsonPreferencesStore store(mainQueue_, path());
    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    store.setObject(number(1), "key");
    EXPECT_FALSE(synchronized(store, mainQueue_));
    EXPECT_FALSE(synchronized(store, mainQueue_));
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("cannot be read (not a regular file)"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << "once is enough";
    EXPECT_TRUE(QFileInfo(path()).isDir());
}

TEST_F(Store, GivesUpOnALockThatAnotherProgramKeeps) {
    write("{}");
    QFile lock(path() + QStringLiteral(".lock"));
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
    ::testing::internal::CaptureStderr();
    JsonPreferencesStore store(mainQueue_, path(), {.lock = std::chrono::milliseconds(20)});
    store.setObject(number(1), "key");
    EXPECT_FALSE(synchronized(store, mainQueue_));
    EXPECT_FALSE(synchronized(store, mainQueue_));
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("another program holds the lock"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << "once is enough";
    EXPECT_EQ(content(), "{}");

    lock.close();
    EXPECT_TRUE(synchronized(store, mainQueue_));
}

TEST_F(Store, SaysAgainWhyItCannotWriteOnceItCouldMeanwhile) {
    ::testing::internal::CaptureStderr();
    JsonPreferencesStore store(mainQueue_, path(), {.lock = std::chrono::milliseconds(0)});
    for (std::int64_t round = 0; round < 2; ++round) {
        store.setObject(number(round), "key");
        ASSERT_TRUE(synchronized(store, mainQueue_));
        QFile lock(path() + QStringLiteral(".lock"));
        ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
        ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
        store.setObject(number(round + 10), "key");
        EXPECT_FALSE(synchronized(store, mainQueue_));
    }
    EXPECT_EQ(std::ranges::count(::testing::internal::GetCapturedStderr(), '\n'), 2);
}

TEST_F(Store, ReadsAndSetsFromMemoryWhileAnotherProgramHoldsTheLock) {
    write(R"({"key": 1})");
    QFile lock(path() + QStringLiteral(".lock"));
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
    JsonPreferencesStore store(mainQueue_, path(), {.lock = std::chrono::hours(1)});
    bool saved = false;
    store.setObject(number(2), "key");
    store.synchronize([&saved](bool result) { saved = result; });
    // These calls would not return yet if they waited for the lock.
    EXPECT_EQ(store.objectForKey("key"), number(2));
    store.setObject(number(3), "key");
    EXPECT_EQ(store.objectForKey("key"), number(3));
    EXPECT_FALSE(saved);
    EXPECT_EQ(content(), R"({"key": 1})");

    lock.close();
    EXPECT_TRUE(mainQueue_.runUntil([&saved] { return saved; }));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("key"), number(2));
    EXPECT_EQ(store.objectForKey("key"), number(3)) << "set after the write began";
}

TEST_F(Store, AValueThatIsSetBackWhileItIsWrittenIsWrittenBack) {
    write(R"({"key": 1})");
    QFile lock(path() + QStringLiteral(".lock"));
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
    JsonPreferencesStore store(mainQueue_, path(), {.lock = std::chrono::hours(1)});
    std::optional<bool> saved;
    store.setObject(number(2), "key");
    store.synchronize([&saved](bool result) { saved = result; });
    store.setObject(number(1), "key");
    lock.close();
    ASSERT_TRUE(mainQueue_.runUntil([&saved] { return saved.has_value(); }));
    EXPECT_EQ(store.objectForKey("key"), number(1));
    EXPECT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("key"), number(1));
}

TEST_F(Store, WaitsForNobodyWithABrokenFileWhileAnotherProgramHoldsTheLock) {
    write("broken");
    QFile lock(path() + QStringLiteral(".lock"));
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
    ::testing::internal::CaptureStderr();
    {
        const JsonPreferencesStore store(mainQueue_, path(), {std::chrono::hours(1), std::chrono::hours(1)});
        EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(content(), "broken") << "the other program may be about to replace it";
}

TEST_F(Store, NoticesThatTheFileBecameAnotherOne) {
    write(R"({"key": 1})");
    const JsonPreferencesStore store(mainQueue_, path());
    EXPECT_EQ(store.objectForKey("key"), number(1));
    const auto becomes = [&](const std::optional<PreferencesValue>& value) {
        return mainQueue_.runUntil([&] { return store.objectForKey("key") == value; });
    };
    write(R"({"key": 22})");
    EXPECT_TRUE(becomes(number(22)));
    ASSERT_TRUE(QFile::remove(path()));
    EXPECT_TRUE(becomes(std::nullopt));
    write(R"({"key": 3})");
    EXPECT_TRUE(becomes(number(3)));
}

TEST_F(Store, FinishesWhatItWritesAtItsEnd) {
    {
        JsonPreferencesStore store(mainQueue_, path());
        store.setObject(number(1), "first");
        store.synchronize({});
        store.setObject(number(2), "second");
        store.synchronize([](bool) { ADD_FAILURE() << "called after the store's end"; });
        store.setObject(number(3), "never synchronized");
        // The main queue no longer runs, because the program has ended.
    }
    const JsonPreferencesStore reader(mainQueue_, path());
    EXPECT_EQ(reader.objectForKey("first"), number(1));
    EXPECT_EQ(reader.objectForKey("second"), number(2));
    bool turned = false;
    mainQueue_.post([&turned] { turned = true; });
    EXPECT_TRUE(mainQueue_.runUntil([&turned] { return turned; }));
}

TEST_F(Store, DoesNotKeepTheProgramFromEndingForLongAndSaysSo) {
    write("{}");
    QFile lock(path() + QStringLiteral(".lock"));
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(lock.handle(), LOCK_EX), 0);
    ::testing::internal::CaptureStderr();
    {
        JsonPreferencesStore store(mainQueue_, path(),
                                   {.lock = std::chrono::seconds(2), .end = std::chrono::milliseconds(20)});
        store.setObject(number(1), "key");
        store.synchronize({});
    }
    EXPECT_THAT(
        ::testing::internal::GetCapturedStderr(),
        ::testing::AllOf(HasSubstr(path().toStdString()), HasSubstr("may not hold what was set last")));
    lock.close();
    const JsonPreferencesStore reader(mainQueue_, path());
    EXPECT_TRUE(mainQueue_.runUntil([&] { return reader.objectForKey("key") == number(1); }))
        << "it is written as soon as it can be";
}

TEST_F(Store, KeepsTheFilesPermissions) {
    write("{}");
    constexpr auto permissions = QFile::ReadOwner | QFile::WriteOwner;
    ASSERT_TRUE(QFile::setPermissions(path(), permissions));
    JsonPreferencesStore store(mainQueue_, path());
    store.setObject(number(1), "key");
    ASSERT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(QFile::permissions(path()), permissions | QFile::ReadUser | QFile::WriteUser);
}

TEST_F(Store, RemovesWhatASaveThatWasKilledLeftAndNothingElse) {
    write("{}");
    const QStringList others{QStringLiteral("panel.json.AbCdEf"), QStringLiteral(".panel.json.swp"),
                             QStringLiteral(".other.json.unfinished")};
    const QDir folder(QFileInfo(path()).path());
    for (const QString& name : others + QStringList{QStringLiteral(".panel.json.unfinished")}) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    JsonPreferencesStore store(mainQueue_, path());
    store.setObject(number(1), "key");
    ASSERT_TRUE(synchronized(store, mainQueue_));
    EXPECT_FALSE(folder.exists(QStringLiteral(".panel.json.unfinished")));
    for (const QString& name : others)
        EXPECT_TRUE(folder.exists(name)) << name.toStdString();
}

TEST_F(Store, AKeyThatSeemedToBeMissingKeepsWhatTheFileTurnsOutToHold) {
    JsonPreferencesStore store(mainQueue_, path());
    const auto record = [](std::int64_t profile, std::int64_t selected) {
        return PreferencesValue{PreferencesArray{number(profile), number(selected)}};
    };
    store.setObjectIfMissing(record(0, -1), "camera");
    store.setObject(record(0, 3), "camera"); // changes the default's second entry
    JsonPreferencesStore other(mainQueue_, path());
    other.setObject(record(50, 1), "camera");
    ASSERT_TRUE(synchronized(other, mainQueue_));
    ASSERT_TRUE(synchronized(store, mainQueue_));
    EXPECT_EQ(store.objectForKey("camera"), record(50, 3));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("camera"), record(50, 3));
}

TEST_F(Store, AnEntryThatALongerListOfAnotherProgramHasIsKept) {
    const auto list = [](std::vector<std::int64_t> entries) {
        PreferencesArray values;
        for (const std::int64_t entry : entries)
            values.push_back(number(entry));
        return PreferencesValue{values};
    };
    JsonPreferencesStore first(mainQueue_, path());
    first.setObject(list({1, 2}), "camera");
    ASSERT_TRUE(synchronized(first, mainQueue_));
    JsonPreferencesStore second(mainQueue_, path());
    second.setObject(list({1, 2, 3, 4}), "camera");
    ASSERT_TRUE(synchronized(second, mainQueue_));
    first.setObject(list({5, 2}), "camera");
    ASSERT_TRUE(synchronized(first, mainQueue_));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("camera"), list({5, 2, 3, 4}));
}

TEST_F(Store, TwoProgramsThatChangeDifferentProfilesOfOneCameraLoseNeither) {
    const auto record = [](std::int64_t first, std::int64_t second) {
        return PreferencesValue{PreferencesArray{{PreferencesDictionary{{"contrast", {first}}}},
                                                 {PreferencesDictionary{{"contrast", {second}}}}}};
    };
    JsonPreferencesStore first(mainQueue_, path());
    first.setObject(record(1, 1), "camera");
    ASSERT_TRUE(synchronized(first, mainQueue_));
    JsonPreferencesStore second(mainQueue_, path());
    second.setObject(record(1, 7), "camera");
    first.setObject(record(5, 1), "camera");
    ASSERT_TRUE(synchronized(second, mainQueue_));
    ASSERT_TRUE(synchronized(first, mainQueue_));
    EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("camera"), record(5, 7));
}

TEST(UserFile, IsInTheUsersConfigurationFolder) {
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
