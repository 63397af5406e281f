// SPDX-License-Identifier: MIT
#include "app/show_file.h"

#include <gmock/gmock.h>

#include <QDesktopServices>
#include <QTest>
#include <QUrl>

#include "service_on_bus.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;

const QString file = QStringLiteral("/tmp/my pictures/f\u00fcnf #1.png");

/// The desktop's program for folders.
class FolderProgram final : public QObject {
    Q_OBJECT

public:
    FolderProgram() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~FolderProgram() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl& url) { opened.append(url); }
};

TEST(ShowFile, TheFileManagerSelectsIt) {
    const FolderProgram folders;
    const QString name = QStringLiteral("org.freedesktop.FileManager1");
    const testing::ServiceOnBus manager(name, QStringLiteral("/org/freedesktop/FileManager1"), name, {});
    showFileInFolder(file);
    EXPECT_TRUE(manager.calls().isEmpty()) << "it does not wait";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !manager.calls().isEmpty(); }, 20'000));
    EXPECT_EQ(manager.calls()[0].member(), QStringLiteral("ShowItems"));
    EXPECT_EQ(manager.calls()[0].signature(), QStringLiteral("ass"));
    EXPECT_EQ(manager.calls()[0].arguments()[0].toStringList(),
              QStringList(QStringLiteral("file:///tmp/my%20pictures/f%C3%BCnf%20%231.png")));
    QTest::qWait(0); // the answer
    EXPECT_TRUE(folders.opened.isEmpty());
}

TEST(ShowFile, WithoutAFileManagerOnTheBusItsFolderIsOpened) {
    const FolderProgram folders;
    showFileInFolder(file);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !folders.opened.isEmpty(); }, 20'000));
    EXPECT_EQ(folders.opened, QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/tmp/my pictures"))});
}

TEST(ShowFile, WithoutAProgramForFoldersALineSaysSo) {
    ::testing::internal::CaptureStderr();
    showFileInFolder(file);
    std::string said;
    const bool isSaid = QTest::qWaitFor(
        [&] {
            said += ::testing::internal::GetCapturedStderr();
            ::testing::internal::CaptureStderr();
            return said.find("not shown") != std::string::npos;
        },
        20'000);
    ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(isSaid);
    EXPECT_THAT(said, HasSubstr("/tmp/my pictures: not shown: the desktop has no program for folders\n"));
}

} // namespace
} // namespace tavelo

#include "show_file_test.moc"
