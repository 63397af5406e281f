// SPDX-License-Identifier: MIT
// The panel as the service sees it.
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "app/window_host.h"
#include "integration/panel_fixture.h"
#include "movie_facts.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "support/fake_sounds.h"
#include "support/recorded_diagnostics.h"

namespace tavelo {
namespace {

using Error = std::optional<ServiceError>;
using ::testing::Contains;
using ::testing::ElementsAre;

class PanelServiceTest : public PanelTest {
protected:
    ~PanelServiceTest() override { host_.reset(); }

    void startWithHost(int cameras) {
        start(cameras);
        host_ = std::make_unique<WindowHost>(
            writers_, [] { return Error(); }, nullptr, sounds_);
        host_->setPanel(panel());
    }
    PanelHost::Handler keep() {
        return [this](const Error& error) { answers_.push_back(error); };
    }
    std::string path(const char* name) const {
        return folder_.filePath(QString::fromUtf8(name)).toStdString();
    }
    bool record(const char* name, const PanelHost::MovieOptions& options = {}) {
        host_->startRecording(path(name), options, keep());
        const bool answered = waitFor([this] { return answers_.size() == 1; });
        return answered && !answers_[0];
    }

    QTemporaryDir folder_;
    testing::RecordedDiagnostics diagnostics_;
    std::shared_ptr<AssetWriterPlatform> writers_ = makeFfmpegAssetWriterPlatform(diagnostics_);
    std::shared_ptr<testing::FakeSounds> sounds_ = std::make_shared<testing::FakeSounds>();
    std::unique_ptr<WindowHost> host_;
    std::vector<Error> answers_;
};

TEST_F(PanelServiceTest, WidgetsFollowAValueThatTheServiceWrote) {
    startWithHost(1);
    manager_.setBrightWithComplitionHandle(20, {});
    EXPECT_NE(view().row(PanelRow::brightness).slider->intValue(), 20);
    host_->controlDidChange(KTUVCControl::bright);
    EXPECT_EQ(view().row(PanelRow::brightness).slider->intValue(), 20);
    EXPECT_EQ(view().row(PanelRow::brightness).valueText->text(), QStringLiteral("20"));
}

TEST_F(PanelServiceTest, AnAppliedProfileIsSelectedAndItsMirrorShown) {
    startWithHost(1);
    host_->profileWasApplied(2, true);
    EXPECT_EQ(panel().profileIndex(), 2);
    EXPECT_TRUE(host_->isMirrored());
    EXPECT_TRUE(panel().displayView()->mtkView()->shouldFlipHorizontal());
}

TEST_F(PanelServiceTest, ValuesThatThePanelSetsAreReported) {
    startWithHost(1);
    std::vector<KTUVCControl> changed;
    QObject::connect(host_.get(), &WindowHost::controlChanged, host_.get(),
                     [&](KTUVCControl control) { changed.push_back(control); });
    click(view().hz60Button());
    EXPECT_THAT(changed, ElementsAre(KTUVCControl::powerLine));
    press(view().row(PanelRow::brightness).slider, 0.9);
    release(view().row(PanelRow::brightness).slider, 0.9);
    EXPECT_EQ(changed.back(), KTUVCControl::bright);
    changed.clear();
    push(view().restoreProfileButton());
    EXPECT_THAT(changed, Contains(KTUVCControl::contrast));
}

TEST_F(PanelServiceTest, AChangeOfAnotherProgramIsReportedOnce) {
    startWithHost(1);
    std::vector<KTUVCControl> changed;
    QObject::connect(host_.get(), &WindowHost::controlChanged, host_.get(),
                     [&](KTUVCControl control) { changed.push_back(control); });
    std::int64_t brightness = 0;
    ASSERT_TRUE(waitFor([&] { // until the panel follows
        camera(1)->setControlValue(control::brightness, ++brightness);
        return !changed.empty();
    }));
    camera(1)->setControlValue(control::contrast, 9);
    ASSERT_TRUE(waitFor([&] { return changed.back() == KTUVCControl::contrast; }));
    EXPECT_EQ(std::ranges::count(changed, KTUVCControl::contrast), 1);
}

TEST_F(PanelServiceTest, AValueThatTheServiceWroteIsNotReportedByThePanel) {
    startWithHost(1);
    QSignalSpy reports(host_.get(), &WindowHost::controlChanged);
    QSignalSpy records(&panel(), &ViewController::recordChanged);
    manager_.setBrightWithComplitionHandle(20, {});
    host_->controlDidChange(KTUVCControl::bright);
    EXPECT_EQ(reports.size(), 0);
    EXPECT_EQ(records.size(), 1);
}

TEST_F(PanelServiceTest, ShownCameraFollowsSwitchesAndUnplugging) {
    startWithHost(2);
    QSignalSpy changes(host_.get(), &WindowHost::shownCameraChanged);
    EXPECT_EQ(host_->shownCamera(), panel().devicesArray()[0]);
    click(view().camera2Button());
    EXPECT_EQ(host_->shownCamera(), panel().devicesArray()[1]);
    EXPECT_EQ(changes.size(), 1);
    backend_.bus->unplug(2);
    EXPECT_TRUE(waitFor([&] { return changes.size() == 2; }));
    backend_.bus->unplug(1);
    EXPECT_TRUE(waitFor([&] { return changes.size() == 3; }));
    EXPECT_EQ(host_->shownCamera(), nullptr);
    host_->takeSnapshot(path("none.png"), keep());
    ASSERT_EQ(answers_.size(), 1U);
    EXPECT_EQ(answers_[0]->kind, ServiceError::Kind::notShown);
}

TEST_F(PanelServiceTest, SnapshotAfterASwitchIsTheNewCamerasPicture) {
    startWithHost(2);
    host_->takeSnapshot(path("first.png"), keep());
    EXPECT_TRUE(waitFor([this] { return answers_.size() == 1; }));
    click(view().camera2Button());
    host_->takeSnapshot(path("second.png"), keep());
    EXPECT_TRUE(waitFor([this] { return answers_.size() == 2; }));
    for (const Error& error : answers_)
        EXPECT_FALSE(error) << error->text;
    // The camera's number is in the left part of its picture.
    const auto plate = [this](const char* name) {
        return QImage(QString::fromStdString(path(name))).copy(0, 0, 260, 50);
    };
    EXPECT_FALSE(plate("first.png").isNull());
    EXPECT_NE(plate("first.png"), plate("second.png"));
}

TEST_F(PanelServiceTest, ASwitchOfTheCameraEndsTheMovieAndSaysSo) {
    startWithHost(2);
    std::vector<std::string> reasons;
    QObject::connect(host_.get(), &WindowHost::recordingEnded, host_.get(),
                     [&](const std::string&, bool success, const std::string& reason) {
                         EXPECT_FALSE(success);
                         reasons.push_back(reason);
                     });
    ASSERT_TRUE(record("movie.mp4"));
    EXPECT_EQ(host_->recordingFile(), path("movie.mp4"));
    click(view().camera2Button());
    EXPECT_TRUE(waitFor([&] { return !reasons.empty(); }));
    EXPECT_EQ(reasons[0], "cut short: the panel shows another camera now");
    EXPECT_EQ(host_->recordingFile(), "");
    EXPECT_GT(testing::decodedPictureCount(path("movie.mp4")), 0U);
}

TEST_F(PanelServiceTest, AnUnpluggedCameraEndsTheMovieAndSaysSo) {
    startWithHost(1);
    std::string reason;
    QObject::connect(host_.get(), &WindowHost::recordingEnded, host_.get(),
                     [&](const std::string&, bool, const std::string& text) { reason = text; });
    ASSERT_TRUE(record("movie.mp4"));
    backend_.bus->unplug(1);
    EXPECT_TRUE(waitFor([&] { return !reason.empty(); }));
    EXPECT_EQ(reason, "cut short: the camera was unplugged");
}

TEST_F(PanelServiceTest, MoviesFollowEachOtherAndExcludeEachOther) {
    startWithHost(1);
    int ends = 0;
    QObject::connect(host_.get(), &WindowHost::recordingEnded, host_.get(),
                     [&](const std::string&, bool success, const std::string& reason) {
                         EXPECT_TRUE(success) << reason;
                         ++ends;
                     });
    for (int movie = 1; movie <= 2; ++movie) {
        answers_.clear();
        ASSERT_TRUE(record(movie == 1 ? "first.mp4" : "second.mp4"));
        host_->startRecording(path("other.mp4"), {}, keep());
        ASSERT_EQ(answers_.size(), 2U);
        EXPECT_EQ(answers_[1]->kind, ServiceError::Kind::busy);
        EXPECT_TRUE(host_->stopRecording());
        EXPECT_TRUE(waitFor([&] { return ends == movie; }));
        EXPECT_FALSE(host_->stopRecording());
    }
}

TEST_F(PanelServiceTest, MovieHasTheSoundOfTheMicrophoneThatIsNamed) {
    sounds_->list = {{"desk", "Desk Microphone", ""}};
    startWithHost(1);
    QSignalSpy ends(host_.get(), &WindowHost::recordingEnded);
    ASSERT_TRUE(record("movie.mp4", {{}, {SoundChoice::Kind::named, "Desk Microphone"}}));
    const auto begin = std::chrono::steady_clock::now().time_since_epoch();
    for (int i = 0; i < 50; ++i)
        sounds_->feed(begin + i * std::chrono::milliseconds(10), i % 2 == 0 ? 10000 : -10000);
    EXPECT_TRUE(host_->stopRecording());
    ASSERT_TRUE(waitFor([&] { return !ends.isEmpty(); }));
    EXPECT_EQ(ends[0][2].value<std::string>(), "");
    EXPECT_FALSE(sounds_->isRunning());
    EXPECT_EQ(testing::factsOf(path("movie.mp4"))["streams.stream.1.codec_name"], "aac");
    EXPECT_FALSE(testing::packetsOf(path("movie.mp4"), "a:0").empty());
}

TEST_F(PanelServiceTest, AMovieThatLacksItsSoundSaysSoInTheEnd) {
    startWithHost(1);
    QSignalSpy ends(host_.get(), &WindowHost::recordingEnded);
    ASSERT_TRUE(record("movie.mp4", {{}, {SoundChoice::Kind::automatic}}));
    EXPECT_TRUE(host_->stopRecording());
    ASSERT_TRUE(waitFor([&] { return !ends.isEmpty(); }));
    EXPECT_TRUE(ends[0][1].toBool());
    EXPECT_EQ(ends[0][2].value<std::string>(), "no sound: the camera has no microphone of its own");
}

TEST_F(PanelServiceTest, AMicrophoneThatIsNamedAndNotThereFailsToBegin) {
    startWithHost(1);
    EXPECT_FALSE(record("movie.mp4", {{}, {SoundChoice::Kind::named, "desk"}}));
    ASSERT_EQ(answers_.size(), 1U);
    EXPECT_EQ(answers_[0]->text, "there is no microphone desk (there is: none)");
    EXPECT_FALSE(std::filesystem::exists(path("movie.mp4")));
}

TEST_F(PanelServiceTest, ASlowSoundServiceHoldsNeitherWindowNorStop) {
    sounds_->hang(true);
    startWithHost(1);
    host_->startRecording(path("movie.mp4"), {{}, {SoundChoice::Kind::automatic}}, keep());
    EXPECT_TRUE(answers_.empty());
    EXPECT_TRUE(waitFor([this] { return panel().displayView()->mtkView()->drawnFrames() > 5; }));
    EXPECT_TRUE(answers_.empty());
    EXPECT_TRUE(host_->stopRecording());
    ASSERT_EQ(answers_.size(), 1U);
    EXPECT_EQ(answers_[0]->text, "stopped before it began");
    sounds_->hang(false);
}

TEST_F(PanelServiceTest, AMovieThatCannotBeWrittenOnlyFailsToBegin) {
    startWithHost(1);
    QSignalSpy ends(host_.get(), &WindowHost::recordingEnded);
    EXPECT_FALSE(record("no such folder/movie.mp4"));
    ASSERT_EQ(answers_.size(), 1U);
    EXPECT_EQ(answers_[0]->text, "not written: the movie file cannot be made: No such file or directory");
    EXPECT_TRUE(waitFor([this] { return host_->recordingFile().empty(); }));
    EXPECT_TRUE(ends.isEmpty());
    EXPECT_FALSE(host_->stopRecording());
}

TEST_F(PanelServiceTest, WithoutAPanelNoCameraIsShown) {
    WindowHost host(writers_, [] { return Error(); });
    EXPECT_EQ(host.shownCamera(), nullptr);
    EXPECT_FALSE(host.isMirrored());
    EXPECT_FALSE(host.stopRecording());
    host.takeSnapshot(path("none.png"), keep());
    EXPECT_EQ(answers_.at(0)->kind, ServiceError::Kind::notShown);
}

} // namespace
} // namespace tavelo
