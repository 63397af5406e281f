// SPDX-License-Identifier: MIT
#include "app/folder_trouble.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <array>
#include <set>

#include "app/resources/resource_bundle.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;
using Trouble = FolderTrouble;

constexpr qint64 mebibyte = 1024LL * 1024;

TEST(FolderTrouble, TheStrongestReasonIsTold) {
    EXPECT_EQ(troubleOf({}), Trouble::none);
    EXPECT_EQ(troubleOf({.exists = false}), Trouble::missing);
    EXPECT_EQ(troubleOf({.isWritable = false}), Trouble::denied);
    EXPECT_EQ(troubleOf({.isReadOnly = true}), Trouble::readOnly);
    EXPECT_EQ(troubleOf({.isReadOnly = true, .isWritable = false}), Trouble::readOnly);
    EXPECT_EQ(troubleOf({.exists = false, .isWritable = false}), Trouble::denied)
        << "it may not even be made";
    EXPECT_EQ(troubleOf({.isFolder = false, .isWritable = false}), Trouble::none) << "a file in its place";
}

TEST(FolderTrouble, LittleSpaceIsNone) {
    EXPECT_EQ(troubleOf({.freeBytes = 0}), Trouble::full);
    EXPECT_EQ(troubleOf({.freeBytes = 15 * mebibyte}), Trouble::full) << "what failed has let go of its own";
    EXPECT_EQ(troubleOf({.freeBytes = 17 * mebibyte}), Trouble::none);
    EXPECT_EQ(troubleOf({.isWritable = false, .freeBytes = 0}), Trouble::denied);
}

TEST(FolderTrouble, AFolderIsLookedAtOrTheOneAboveIt) {
    const QTemporaryDir folder;
    const FolderState here = stateOfFolder(folder.path());
    EXPECT_TRUE(here.exists);
    EXPECT_TRUE(here.isFolder);
    EXPECT_TRUE(here.isWritable);
    EXPECT_FALSE(here.isReadOnly);
    EXPECT_GT(here.freeBytes.value_or(0), 0);

    const FolderState none = stateOfFolder(folder.filePath(QStringLiteral("not/there")));
    EXPECT_FALSE(none.exists);
    EXPECT_TRUE(none.isFolder);
    EXPECT_TRUE(none.isWritable);
    EXPECT_TRUE(none.freeBytes.has_value());

    QFile file(folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(stateOfFolder(file.fileName() + QStringLiteral("/below")).isFolder);
}

TEST(FolderTrouble, AFileSystemWithoutSizesIsNotFull) {
    EXPECT_EQ(stateOfFolder(QStringLiteral("/proc/self")).freeBytes, std::nullopt);
}

TEST(FolderTrouble, EveryLanguageNamesTheFolderAndTheReason) {
    ResourceBundle bundle{{"en-GB"}};
    const QString folder = QStringLiteral("/media/a %2 b/Pictures");
    for (const std::string& language : bundle.localizations()) {
        bundle.preferLanguage(language);
        std::set<QString> texts;
        for (const Trouble trouble :
             {Trouble::none, Trouble::missing, Trouble::readOnly, Trouble::denied, Trouble::full}) {
            const QString text = folderTroubleText(folder, trouble, QStringLiteral("Too odd"), bundle);
            EXPECT_TRUE(text.contains(folder)) << language << ": " << text.toStdString();
            EXPECT_EQ(text.contains(QStringLiteral("Too odd")), trouble == Trouble::none) << language;
            texts.insert(text);
        }
        EXPECT_EQ(texts.size(), 5U) << language;
    }
    bundle.preferLanguage("en");
    EXPECT_EQ(folderTroubleText(folder, Trouble::none, QStringLiteral("Too odd"), bundle),
              folder + QStringLiteral(": Too odd"));
    EXPECT_EQ(folderTroubleText(folder, Trouble::full, {}, bundle),
              QStringLiteral("no space left in ") + folder);
}

} // namespace
} // namespace tavelo
