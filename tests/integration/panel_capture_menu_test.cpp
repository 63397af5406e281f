// SPDX-License-Identifier: MIT
// Stills and movies from the context menu.
#include <QDir>
#include <QFile>
#include <QImage>
#include <QSignalSpy>

#include "app/panel_snapshot.h"
#include "integration/features_fixture.h"
#include "movie_facts.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;

class PanelCaptureMenu : public FeaturesTest {
protected:
    QStringList files(const char* folder) const {
        return QDir(path(folder)).entryList(QDir::Files | QDir::Hidden);
    }
    QString onlyFile(const char* folder) const { return path(folder) + u'/' + files(folder).value(0); }
    void press(Qt::Key key) { QTest::keyClick(&window_, key, Qt::ControlModifier); }
    /// The file is there before that, and until then no other picture is saved.
    bool isSaving() const { return !host_->findChildren<PanelSnapshot*>().isEmpty(); }
    bool recordFor(std::chrono::milliseconds time) {
        press(Qt::Key_R);
        QElapsedTimer timer;
        timer.start();
        return waitFor([&] { return host_->recordingFile() != "" && timer.hasExpired(time.count()); });
    }
    /// Qt's offscreen window system prints lines of its own.
    static qsizetype linesAbout(const QString& path, const std::string& output) {
        return QString::fromStdString(output).split(u'\n').filter(path).size();
    }
    /// One entry says that the file was not saved, and names the folder.  The reason depends on the user.
    bool folderIsBlamed(const char* name) {
        const QStringList found = entries().filter(QStringLiteral("Not saved: "));
        return found.size() == 1 && found[0].contains(path(name));
    }
    /// A file stands where a folder is wanted.
    void block(const char* name) {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
};

TEST_F(PanelCaptureMenu, KeySavesThePictureIntoThePicturesFolder) {
    startWithFeatures(1);
    EXPECT_EQ(entry("Show File"), nullptr) << "nothing was saved yet";
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    press(Qt::Key_S);
    ASSERT_TRUE(waitFor([this] { return entry("Show File") != nullptr; }));
    ASSERT_EQ(files("Pictures").size(), 1);
    EXPECT_TRUE(files("Pictures")[0].startsWith(QStringLiteral("Tavelo Virtual Camera 1 2")));
    EXPECT_EQ(QImage(onlyFile("Pictures")).size(), QSize(1280, 720));
}

TEST_F(PanelCaptureMenu, TwoPicturesInOneSecondAreTwoFiles) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    for (int count = 1; count <= 3; ++count) {
        choose("Save Picture");
        ASSERT_TRUE(waitFor([&] { return files("Pictures").size() == count && !isSaving(); })) << count;
    }
}

TEST_F(PanelCaptureMenu, AKeyThatIsPressedWhileAPictureIsSavedSavesNoOther) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    ASSERT_FALSE(isSaving());
    press(Qt::Key_S);
    press(Qt::Key_S); // both would have the same name
    EXPECT_EQ(host_->findChildren<PanelSnapshot*>().size(), 1);
    ASSERT_TRUE(waitFor([this] { return entry("Show File") != nullptr; }));
    EXPECT_EQ(files("Pictures").size(), 1);
}

TEST_F(PanelCaptureMenu, KeyRecordsAndStopsTheMovie) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    ASSERT_TRUE(recordFor(std::chrono::milliseconds(1200)));
    EXPECT_TRUE(window_.windowTitle().startsWith(QStringLiteral("\U0001F534 0:01")));
    EXPECT_EQ(entry("Record"), nullptr);
    EXPECT_NE(entry("Stop Recording (0:01)"), nullptr);
    QApplication::activePopupWidget()->close();
    press(Qt::Key_R);
    ASSERT_TRUE(waitFor([this] { return entry("Show File") != nullptr; }));
    EXPECT_EQ(window_.windowTitle(), QStringLiteral("Panel"));
    EXPECT_NE(entry("Record"), nullptr);
    ASSERT_EQ(files("Videos").size(), 1);
    EXPECT_TRUE(files("Videos")[0].endsWith(QStringLiteral(".mp4")));
    EXPECT_GT(testing::decodedPictureCount(onlyFile("Videos").toStdString()), 5U);
}

TEST_F(PanelCaptureMenu, AMovieOfAnotherProgramIsShownAndStopped) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    host_->startRecording(path("other.mp4").toStdString(), {}, [](const auto&) {});
    EXPECT_TRUE(window_.windowTitle().startsWith(QStringLiteral("\U0001F534")));
    ASSERT_TRUE(waitFor([this] { return QFile::exists(path("other.mp4")); }));
    QSignalSpy ended(&*host_, &WindowHost::recordingEnded);
    press(Qt::Key_R);
    ASSERT_TRUE(waitFor([this] { return host_->recordingFile().empty(); }));
    EXPECT_EQ(entry("Show File"), nullptr) << "it is the other program's file";
    EXPECT_FALSE(QDir(path("Videos")).exists());
}

TEST_F(PanelCaptureMenu, SoundIsOfferedOnlyWhereThereMayBeMicrophonesAndIsOffAtFirst) {
    startWithFeatures(1);
    EXPECT_EQ(entry("Record Sound"), nullptr);
    sounds_->available = true;
    QAction* const sound = entry("Record Sound");
    ASSERT_NE(sound, nullptr);
    EXPECT_TRUE(sound->isCheckable());
    EXPECT_FALSE(sound->isChecked());
}

TEST_F(PanelCaptureMenu, AMovieHasSoundOnlyIfThatIsChosenAndTheMenuSaysIfItIsMissing) {
    sounds_->available = true;
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    const auto recordAMovie = [this](qsizetype count) {
        if (QWidget* open = QApplication::activePopupWidget()) open->close();
        ASSERT_TRUE(recordFor(std::chrono::milliseconds(200)));
        EXPECT_FALSE(entry("Record Sound")->isEnabled()) << "of the next movie";
        QApplication::activePopupWidget()->close();
        press(Qt::Key_R);
        ASSERT_TRUE(waitFor([this] { return host_->recordingFile().empty(); }));
        EXPECT_EQ(files("Videos").size(), count);
    };
    const char* const missing = "The last movie is missing sound";
    recordAMovie(1);
    EXPECT_EQ(entry(missing), nullptr);
    choose("Record Sound");
    EXPECT_TRUE(entry("Record Sound")->isChecked());
    ::testing::internal::CaptureStderr();
    recordAMovie(2); // a virtual camera has no microphone
    EXPECT_EQ(linesAbout(path("Videos"), ::testing::internal::GetCapturedStderr()), 0);
    ASSERT_NE(entry(missing), nullptr);
    EXPECT_FALSE(entry(missing)->isEnabled());
    choose("Record Sound");
    recordAMovie(3);
    EXPECT_EQ(entry(missing), nullptr);
}

TEST_F(PanelCaptureMenu, WithoutAPictureNothingIsOffered) {
    startWithFeatures(0);
    EXPECT_FALSE(entry("Save Picture")->isEnabled());
    EXPECT_FALSE(entry("Record")->isEnabled());
    QApplication::activePopupWidget()->close();
    press(Qt::Key_S);
    press(Qt::Key_R);
    EXPECT_FALSE(QDir(path("Pictures")).exists());
    EXPECT_TRUE(host_->recordingFile().empty());
}

TEST_F(PanelCaptureMenu, APictureThatCannotBeWrittenIsALineAndAnEntry) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    block("Pictures");
    ::testing::internal::CaptureStderr();
    choose("Save Picture");
    const QString place = QStringLiteral("Not saved: %1: ").arg(path("Pictures"));
    ASSERT_TRUE(waitFor([&] { return entries().filter(place).size() == 1; }))
        << entries().join(u'\n').toStdString();
    const std::string line = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, HasSubstr(path("Pictures").toStdString() + ": "));
    EXPECT_EQ(linesAbout(folder_.path(), line), 1) << line;
    QFile::remove(path("Pictures"));
    choose("Save Picture");
    ASSERT_TRUE(waitFor([this] { return entry("Show File") != nullptr; }));
    EXPECT_TRUE(entries().filter(QStringLiteral("Not saved")).isEmpty()) << "it is over";
}

TEST_F(PanelCaptureMenu, AFolderThatMayNotBeWrittenIsALineAndAnEntry) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    // Not even root can make a file in it.
    ASSERT_TRUE(QFile::link(QStringLiteral("/proc/self"), path("Pictures")));
    ::testing::internal::CaptureStderr();
    choose("Save Picture");
    ASSERT_TRUE(waitFor([this] { return folderIsBlamed("Pictures"); }))
        << entries().join(u'\n').toStdString();
    const std::string line = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, HasSubstr(".png: not written: "));
    EXPECT_EQ(linesAbout(folder_.path(), line), 1) << line;
}

TEST_F(PanelCaptureMenu, AMovieThatCannotBeWrittenIsALineAndAnEntry) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    ASSERT_TRUE(QFile::link(QStringLiteral("/proc/self"), path("Videos")));
    ::testing::internal::CaptureStderr();
    choose("Record");
    ASSERT_TRUE(waitFor([this] { return folderIsBlamed("Videos"); })) << entries().join(u'\n').toStdString();
    const std::string line = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, HasSubstr(".mp4: not written: "));
    EXPECT_EQ(linesAbout(folder_.path(), line), 1) << line;
    EXPECT_EQ(window_.windowTitle(), QStringLiteral("Panel"));
}

TEST_F(PanelCaptureMenu, AMovieWithoutAFolderIsALineAndAnEntry) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    block("Videos");
    ::testing::internal::CaptureStderr();
    choose("Record");
    ASSERT_TRUE(waitFor([this] { return folderIsBlamed("Videos"); })) << entries().join(u'\n').toStdString();
    const std::string line = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, HasSubstr(path("Videos").toStdString() + ": cannot make the folder: "));
    EXPECT_EQ(linesAbout(folder_.path(), line), 1) << line;
    EXPECT_TRUE(host_->recordingFile().empty());
}

TEST_F(PanelCaptureMenu, AFolderThatIsGoneIsNamedInTheLanguageOfTheMenu) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    press(Qt::Key_S);
    // The picture is written later: the panel waits for the camera's next one.
    ASSERT_TRUE(QDir(path("Pictures")).removeRecursively());
    const QString said = QStringLiteral("Not saved: there is no folder ") + path("Pictures");
    ASSERT_TRUE(waitFor([&] { return entry(qPrintable(said)) != nullptr; }));
    for (const QAction* opener : openMenu()->actions())
        for (QAction* choice : opener->menu() != nullptr ? opener->menu()->actions() : QList<QAction*>())
            if (choice->text() == QStringLiteral("Deutsch")) choice->trigger();
    EXPECT_THAT(entries(),
                ::testing::Contains(
                    QStringLiteral("Nicht gespeichert: den Ordner %1 gibt es nicht").arg(path("Pictures"))));
}

TEST_F(PanelCaptureMenu, AMovieThatIsCutShortIsSaidAndCanBeShown) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    ASSERT_TRUE(recordFor(std::chrono::milliseconds(600)));
    ::testing::internal::CaptureStderr();
    backend_.bus->unplug(1);
    ASSERT_TRUE(
        waitFor([this] { return entry("Not saved: cut short: the camera was unplugged") != nullptr; }));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("cut short: the camera was unplugged"));
    EXPECT_NE(entry("Show File"), nullptr);
}

} // namespace
} // namespace tavelo
