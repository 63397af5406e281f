// SPDX-License-Identifier: MIT
// A camera is pulled out while its picture is saved or recorded.
#include <QDir>
#include <QImage>
#include <iostream>

#include "app/panel_snapshot.h"
#include "integration/features_fixture.h"
#include "movie_facts.h"
#include "support/resource_counts.h"

namespace tavelo {
namespace {

class PanelCaptureFaults : public FeaturesTest {
protected:
    ~PanelCaptureFaults() override { std::cout << rounds_ << " cameras pulled out\n"; }

    void press(Qt::Key key) { QTest::keyClick(&window_, key, Qt::ControlModifier); }
    bool isSaving() const { return !host_->findChildren<PanelSnapshot*>().isEmpty(); }
    bool isRecording() const { return host_->recordingFile() != ""; }

    std::uint64_t drawn() { return panel().displayView()->mtkView()->drawnFrames(); }
    bool waitForFrames(std::uint64_t count) {
        return waitFor([this, until = drawn() + count] { return drawn() >= until; });
    }

    /// The first camera is the last one in the list once it came back.
    void showFirst() {
        const bool isLast = rounds_ > 0;
        click(isLast ? view().camera2Button() : view().camera1Button());
        ASSERT_TRUE(waitForFrames(2));
        ASSERT_TRUE(pictureIsShown());
        QApplication::activePopupWidget()->close();
    }

    void unplugFirst() {
        ++rounds_;
        ASSERT_TRUE(backend_.bus->unplug(1));
    }

    /// The window and the other camera work, and the first one comes back.
    void expectNoHarm() {
        ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
        bool answered = false;
        QElapsedTimer timer;
        timer.start();
        QMetaObject::invokeMethod(
            &window_, [&answered] { answered = true; }, Qt::QueuedConnection);
        ASSERT_TRUE(waitFor([&answered] { return answered; }));
        EXPECT_LT(timer.elapsed(), 100);
        ASSERT_TRUE(waitForFrames(2));
        ASSERT_TRUE(view().contrastSlider()->isEnabled());
        PanelTest::press(view().contrastSlider(), 1);
        release(view().contrastSlider(), 1);
        EXPECT_EQ(camera(2)->controlValue(control::contrast), view().contrastSlider()->maxValue());
        plug(1);
        ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 2; }));
    }

    /// Those of the first rounds are kept: libraries were loaded then, and threads started.
    void expectNoGrowth() {
        constexpr std::size_t roundsToWarmUp = 5;
        if (rounds_ == roundsToWarmUp) resources_ = testing::ResourceCounts::now();
        if (rounds_ <= roundsToWarmUp) return;
        testing::ResourceCounts now;
        EXPECT_TRUE(waitFor([&] {
            now = testing::ResourceCounts::now();
            return now.threads <= resources_.threads && now.descriptors <= resources_.descriptors;
        })) << "before: "
            << resources_ << "; now: " << now;
    }

    QFileInfoList files(const char* folder) const {
        return QDir(path(folder)).entryInfoList(QDir::Files | QDir::Hidden);
    }

    std::size_t rounds_ = 0;
    testing::ResourceCounts resources_;
};

TEST_F(PanelCaptureFaults, APictureIsWholeOrNotThere) {
    startWithFeatures(2);
    QThreadPool::globalInstance()->setExpiryTimeout(-1);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        showFirst();
        if (round % 4 == 0) unplugFirst();
        press(Qt::Key_S);
        if (round % 4 == 1) unplugFirst();
        if (round % 4 == 2) QCoreApplication::processEvents();
        if (round % 4 == 2) unplugFirst();
        ASSERT_TRUE(waitFor([this] { return !isSaving(); }));
        if (round % 4 == 3) unplugFirst();
        expectNoHarm();
        expectNoGrowth();
    }
    for (const QFileInfo& file : files("Pictures"))
        EXPECT_EQ(QImage(file.filePath()).size(), QSize(1280, 720)) << file.fileName().toStdString();
    EXPECT_FALSE(files("Pictures").isEmpty());
}

TEST_F(PanelCaptureFaults, AMoviePlaysUpToThatMoment) {
    startWithFeatures(2);
    QThreadPool::globalInstance()->setExpiryTimeout(-1);
    for (std::uint64_t frames = 0; frames < 8; ++frames) {
        SCOPED_TRACE(frames);
        showFirst();
        press(Qt::Key_R);
        ASSERT_TRUE(waitFor([this] { return isRecording(); }));
        ASSERT_TRUE(frames == 0 || waitForFrames(frames));
        unplugFirst();
        ASSERT_TRUE(waitFor([this] { return !isRecording(); }));
        expectNoHarm();
        expectNoGrowth();
    }
    std::size_t played = 0;
    for (const QFileInfo& file : files("Videos")) {
        EXPECT_TRUE(file.fileName().endsWith(QStringLiteral(".mp4"))) << file.fileName().toStdString();
        EXPECT_NO_THROW(played += testing::decodedPictureCount(file.filePath().toStdString()));
    }
    EXPECT_GT(played, 0U);
}

} // namespace
} // namespace tavelo
