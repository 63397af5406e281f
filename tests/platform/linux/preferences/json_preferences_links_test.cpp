// SPDX-License-Identifier: MIT
// The preferences file is a symbolic link, as set up by programs that manage configuration files.
#include <algorithm>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "platform/linux/preferences/json_preferences_store.h"
#include "support/synchronized.h"

namespace tavelo {
namespace {

class Links : public ::testing::Test {
protected:
    Links() {
        QDir(folder_.path()).mkdir(QStringLiteral("config"));
        QDir(folder_.path()).mkdir(QStringLiteral("dotfiles"));
    }

    QString path() const { return folder_.filePath(QStringLiteral("config/panel.json")); }
    QString target() const { return folder_.filePath(QStringLiteral("dotfiles/panel.json")); }

    void link(const QString& to) const { ASSERT_TRUE(QFile::link(to, path())); }

    bool save(std::int64_t value) {
        JsonPreferencesStore store(mainQueue_, path());
        store.setObject({value}, "key");
        return synchronized(store, mainQueue_);
    }

    void expectStoredInTarget(std::int64_t value) {
        EXPECT_TRUE(QFileInfo(path()).isSymLink());
        EXPECT_FALSE(QFileInfo(target()).isSymLink());
        EXPECT_EQ(JsonPreferencesStore(mainQueue_, path()).objectForKey("key"), PreferencesValue{value});
        EXPECT_EQ(JsonPreferencesStore(mainQueue_, target()).objectForKey("key"), PreferencesValue{value});
    }

    QTemporaryDir folder_;
    testing::ManualMainQueue mainQueue_;
};

TEST_F(Links, ToAnExistingFileStayLinks) {
    QFile file(target());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{}");
    file.close();
    link(target());
    EXPECT_TRUE(save(1));
    expectStoredInTarget(1);
    EXPECT_TRUE(save(2));
    expectStoredInTarget(2);
}

TEST_F(Links, ToAFileThatDoesNotExistYetAreWrittenThrough) {
    link(target());
    EXPECT_TRUE(save(1));
    expectStoredInTarget(1);
}

TEST_F(Links, ToAFolderThatDoesNotExistYetMakeIt) {
    ASSERT_TRUE(QDir(folder_.path()).rmdir(QStringLiteral("dotfiles")));
    link(target());
    EXPECT_TRUE(save(1));
    expectStoredInTarget(1);
}

TEST_F(Links, AreReadFromWhereTheyLie) {
    ASSERT_TRUE(QFile::link(QStringLiteral("../dotfiles/first.json"), path()));
    ASSERT_TRUE(
        QFile::link(QStringLiteral("panel.json"), folder_.filePath(QStringLiteral("dotfiles/first.json"))));
    EXPECT_TRUE(save(1));
    expectStoredInTarget(1);
    EXPECT_TRUE(QFileInfo(folder_.filePath(QStringLiteral("dotfiles/first.json"))).isSymLink());
}

TEST_F(Links, ProgramsAtTheLinkAndAtItsTargetShareALock) {
    link(target());
    ASSERT_TRUE(save(1));
    EXPECT_TRUE(QFile::exists(target() + QStringLiteral(".lock")));
    EXPECT_FALSE(QFile::exists(path() + QStringLiteral(".lock")));
}

TEST_F(Links, ABrokenTargetIsKeptBesideIt) {
    QFile file(target());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("broken");
    file.close();
    link(target());
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(save(1));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), ::testing::HasSubstr("kept as"));
    EXPECT_TRUE(QFile::exists(target() + QStringLiteral(".broken")));
    expectStoredInTarget(1);
}

/// Reads and writes as often as the program does at start.
std::string manyTimes(MainQueue& mainQueue, testing::ManualMainQueue& turns, const QString& path) {
    ::testing::internal::CaptureStderr();
    JsonPreferencesStore store(mainQueue, path);
    for (std::int64_t i = 0; i < 33; ++i) {
        EXPECT_EQ(store.objectForKey("absent"), std::nullopt);
        store.setObject({i}, "key");
        EXPECT_FALSE(synchronized(store, turns));
        EXPECT_EQ(store.objectForKey("key"), PreferencesValue{i});
    }
    return ::testing::internal::GetCapturedStderr();
}

TEST_F(Links, ToAPlaceThatCannotBeWrittenAreReportedOnce) {
    link(QStringLiteral("/proc/nobody/panel.json"));
    const std::string said = manyTimes(mainQueue_, mainQueue_, path());
    EXPECT_THAT(said, ::testing::HasSubstr(path().toStdString() + " cannot create the folder ("));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
}

TEST_F(Links, ToThemselvesAreReportedOnce) {
    link(path());
    const std::string said = manyTimes(mainQueue_, mainQueue_, path());
    EXPECT_THAT(said, ::testing::HasSubstr("Too many levels of symbolic links"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
}

} // namespace
} // namespace tavelo
