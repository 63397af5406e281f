// SPDX-License-Identifier: MIT
#include "app/picture_files.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace tavelo {
namespace {

class PictureFilesTest : public testing::Test {
protected:
    QString name(std::string_view camera) {
        const auto file = freePictureFile(folder_.path(), camera, time_, QStringLiteral("png"), reason_);
        return file ? QFileInfo(*file).fileName() : QString();
    }
    void touch(const QString& name) {
        QFile file(folder_.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    QTemporaryDir folder_;
    QDateTime time_{QDate(2026, 11, 22), QTime(9, 8, 7)};
    QString reason_;
};

TEST_F(PictureFilesTest, NamesCameraAndTime) {
    EXPECT_EQ(name("HD Webcam C920"), QStringLiteral("HD Webcam C920 2026-11-22 09-08-07.png"));
}

TEST_F(PictureFilesTest, ATakenNameGetsANumber) {
    touch(QStringLiteral("C920 2026-11-22 09-08-07.png"));
    EXPECT_EQ(name("C920"), QStringLiteral("C920 2026-11-22 09-08-07 (2).png"));
    ASSERT_TRUE(QFile::link(QStringLiteral("nowhere"),
                            folder_.filePath(QStringLiteral("C920 2026-11-22 09-08-07 (2).png"))));
    EXPECT_EQ(name("C920"), QStringLiteral("C920 2026-11-22 09-08-07 (3).png"));
}

TEST_F(PictureFilesTest, NoCameraNameLeavesTheFolderOrHidesTheFile) {
    EXPECT_EQ(name("../../etc"), QStringLiteral("-..-etc 2026-11-22 09-08-07.png"));
    EXPECT_EQ(name(".x\n a:b?"), QStringLiteral("x a-b- 2026-11-22 09-08-07.png"));
    EXPECT_EQ(name(""), QStringLiteral("Camera 2026-11-22 09-08-07.png"));
    EXPECT_LT(name(std::string(300, 'x')).size(), 100);
}

TEST_F(PictureFilesTest, MakesAMissingFolder) {
    const QString folder = folder_.filePath(QStringLiteral("new/Pictures"));
    const auto file = freePictureFile(folder, "C920", time_, QStringLiteral("mp4"), reason_);
    ASSERT_TRUE(file);
    EXPECT_EQ(QFileInfo(*file).path(), folder);
    EXPECT_TRUE(QFileInfo(folder).isDir());
}

TEST_F(PictureFilesTest, AFolderThatCannotBeMadeGivesTheReason) {
    touch(QStringLiteral("file"));
    EXPECT_FALSE(freePictureFile(folder_.filePath(QStringLiteral("file/Pictures")), "C920", time_,
                                 QStringLiteral("png"), reason_));
    EXPECT_FALSE(reason_.isEmpty());
}

} // namespace
} // namespace tavelo
