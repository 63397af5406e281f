// SPDX-License-Identifier: MIT
#include "video/kt_asset_writer_manager.h"

#include <gmock/gmock.h>

#include <ctime>
#include <fstream>

#include "fake_asset_writer.h"
#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

constexpr MediaTime at(std::int64_t value) {
    return {value, 1'000'000'000, MediaTime::flagValid, 0};
}

class KTAssetWriterManagerTest : public ::testing::Test {
protected:
    using Clock = KTAssetWriterManager::Clock;

    void SetUp() override {
        std::tm afternoon{};
        afternoon.tm_year = 2024 - 1900;
        afternoon.tm_mon = 2;
        afternoon.tm_mday = 5;
        afternoon.tm_hour = 15;
        afternoon.tm_min = 4;
        afternoon.tm_sec = 9;
        afternoon.tm_isdst = -1;
        now_ = Clock::from_time_t(std::mktime(&afternoon));
        recorder_ = std::make_unique<KTAssetWriterManager>(
            std::make_shared<FakeAssetWriterPlatform>(script_),
            KTAssetWriterManager::Options{[this] { return now_; }, folder_.path()});
    }

    void start(const std::string& path = "movie.mp4") {
        recorder_->startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
            frame_, path, AudioSettings{44100, 1, 96000},
            [this](bool success, const Error& error) { ended_.emplace_back(success, error.text); });
    }
    void startAndForget() {
        start();
        script_.take();
    }
    void record(std::int64_t time) { recorder_->recordPixelBufferWithPresentationTime(frame_, at(time)); }

    TemporaryFolder folder_;
    Clock::time_point now_;
    WriterScript script_;
    std::vector<std::pair<bool, std::string>> ended_;
    std::shared_ptr<PixelBuffer> frame_ = PixelBuffer::create(PixelFormat::bgra32, 1280, 720);
    std::unique_ptr<KTAssetWriterManager> recorder_;
};

TEST_F(KTAssetWriterManagerTest, StartsEmptyWithBothFlagsFalse) {
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_FALSE(recorder_->isFirstSample());
    EXPECT_TRUE(recorder_->movieURL().empty());
    EXPECT_EQ(recorder_->movieWriter(), nullptr);
    EXPECT_EQ(recorder_->moviePixelBufferAdaptor(), nullptr);
    EXPECT_EQ(recorder_->movieVideoInput(), nullptr);
    EXPECT_EQ(recorder_->movieAudioInput(), nullptr);
    EXPECT_FALSE(recorder_->completionHandler());
    EXPECT_EQ(recorder_->currentFrame(), 0);
    EXPECT_EQ(recorder_->startDate(), std::nullopt);
}

// The first start

TEST_F(KTAssetWriterManagerTest, StartPreparesAnMpeg4WriterAndDoesNotStartIt) {
    start();
    EXPECT_THAT(script_.take(), ElementsAre("mpeg4 movie.mp4", "add video", "audio real time", "add audio"));
    EXPECT_TRUE(recorder_->isRecording());
    EXPECT_TRUE(recorder_->isFirstSample());
    EXPECT_EQ(recorder_->movieURL(), "movie.mp4");
    EXPECT_EQ(recorder_->currentFrame(), 0);
    EXPECT_EQ(recorder_->startDate(), now_);
    EXPECT_TRUE(recorder_->completionHandler());
    EXPECT_THAT(ended_, IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, MovieHasTheSizeOfTheFrameAtStart) {
    start();
    ASSERT_TRUE(script_.videoSettings.has_value());
    EXPECT_EQ(script_.videoSettings->codec, VideoCodec::h264);
    EXPECT_EQ(script_.videoSettings->scalingMode, VideoScalingMode::resizeAspectFill);
    EXPECT_EQ(script_.videoSettings->width, 1280U);
    EXPECT_EQ(script_.videoSettings->height, 720U);
    EXPECT_EQ(script_.videoSettings->compressionProperties.maxKeyFrameInterval, 60);
    EXPECT_EQ(script_.videoSettings->compressionProperties.profileLevel, H264ProfileLevel::mainAutoLevel);
    const auto& attributes = recorder_->moviePixelBufferAdaptor()->sourcePixelBufferAttributes();
    EXPECT_EQ(attributes.pixelFormatType, 32U);
    EXPECT_EQ(attributes.width, 1280U);
    EXPECT_EQ(attributes.height, 720U);
}

TEST_F(KTAssetWriterManagerTest, OnlyTheAudioInputOfTheFirstStartExpectsRealTime) {
    start();
    EXPECT_FALSE(recorder_->movieVideoInput()->expectsMediaDataInRealTime());
    EXPECT_TRUE(recorder_->movieAudioInput()->expectsMediaDataInRealTime());
}

TEST_F(KTAssetWriterManagerTest, AudioSettingsAreTheCallers) {
    start();
    ASSERT_TRUE(script_.audioSettings.has_value());
    EXPECT_EQ(script_.audioSettings->sampleRate, 44100U);
    EXPECT_EQ(script_.audioSettings->channels, 1U);
    EXPECT_EQ(script_.audioSettings->bitRate, 96000);
}

TEST_F(KTAssetWriterManagerTest, InputsThatTheWriterDoesNotAcceptAreNotAdded) {
    script_.refuseAudio = true;
    script_.refuseVideo = true;
    start();
    EXPECT_THAT(script_.take(), ElementsAre("mpeg4 movie.mp4", "audio real time"));
    EXPECT_TRUE(recorder_->isRecording());
}

TEST_F(KTAssetWriterManagerTest, ReportsTheErrorOfAWriterThatCannotBeMade) {
    script_.refuseWriter = true;
    start();
    EXPECT_THAT(ended_, ElementsAre(Pair(false, "cannot be made")));
    EXPECT_FALSE(recorder_->isRecording());
    record(1);
    EXPECT_THAT(script_.take(), ElementsAre("mpeg4 movie.mp4"));
}

TEST_F(KTAssetWriterManagerTest, ReportsAMissingPlatformToTheHandler) {
    KTAssetWriterManager recorder;
    bool told = false;
    recorder.startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
        frame_, "movie.mp4", {},
        [&](bool success, const Error& error) { told = !success && !error.text.empty(); });
    EXPECT_TRUE(told);
    EXPECT_FALSE(recorder.isRecording());
}

// Frames

TEST_F(KTAssetWriterManagerTest, FirstFrameStartsWriterAndSessionAtItsTime) {
    startAndForget();
    record(7);
    record(9);
    EXPECT_THAT(script_.take(), ElementsAre("start", "session 7/1000000000", "video append 7/1000000000",
                                            "video append 9/1000000000"));
    EXPECT_FALSE(recorder_->isFirstSample());
}

TEST_F(KTAssetWriterManagerTest, FrameWithTimeZeroIsNeverWrittenAndDoesNotStartTheSession) {
    startAndForget();
    record(0);
    EXPECT_THAT(script_.take(), IsEmpty());
    EXPECT_TRUE(recorder_->isFirstSample());
    record(5);
    script_.take();
    record(0);
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, FrameIsIgnoredWhileIdle) {
    record(5);
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, FrameThatFindsTheWriterBusyIsDroppedWithoutNotice) {
    startAndForget();
    script_.ready = false;
    record(5);
    EXPECT_THAT(script_.take(), ElementsAre("start", "session 5/1000000000"));
    script_.ready = true;
    record(6);
    EXPECT_THAT(script_.take(), ElementsAre("video append 6/1000000000"));
    EXPECT_TRUE(recorder_->isRecording());
    EXPECT_THAT(ended_, IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, WriterThatWillNotStartStopsTheRecordingWithItsError) {
    script_.refuseStart = true;
    startAndForget();
    record(5);
    EXPECT_THAT(script_.take(), ElementsAre("start", "video finished", "finish"));
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_THAT(ended_, ElementsAre(Pair(false, "the writer's error")));
}

TEST_F(KTAssetWriterManagerTest, FrameThatCannotBeAppendedStopsTheRecordingWithTheWritersError) {
    startAndForget();
    script_.refuseSamples = true;
    record(5);
    EXPECT_THAT(script_.take(), ElementsAre("start", "session 5/1000000000", "video append 5/1000000000",
                                            "video finished", "finish"));
    EXPECT_FALSE(recorder_->isRecording());
    record(6);
    EXPECT_THAT(script_.take(), IsEmpty());
    EXPECT_THAT(ended_, ElementsAre(Pair(false, "the writer's error")));
}

// The end

TEST_F(KTAssetWriterManagerTest, StopFinishesOnlyVideoAndCallsTheHandlerOnce) {
    startAndForget();
    record(5);
    script_.take();
    recorder_->stopRecord();
    EXPECT_THAT(script_.take(), ElementsAre("video finished", "finish"));
    EXPECT_THAT(ended_, ElementsAre(Pair(true, "")));
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_TRUE(recorder_->isFirstSample());
    EXPECT_FALSE(recorder_->completionHandler());
    recorder_->stopRecord();
    EXPECT_THAT(script_.take(), IsEmpty());
    EXPECT_EQ(ended_.size(), 1U);
}

TEST_F(KTAssetWriterManagerTest, HandlerIsKeptUntilTheWriterHasFinished) {
    script_.finishAtOnce = false;
    startAndForget();
    record(5);
    recorder_->stopRecord();
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_TRUE(recorder_->completionHandler());
    EXPECT_THAT(ended_, IsEmpty());
    script_.finishing.at("movie.mp4")();
    EXPECT_THAT(ended_, ElementsAre(Pair(true, "")));
    EXPECT_FALSE(recorder_->completionHandler());
}

TEST_F(KTAssetWriterManagerTest,
       StoppingBeforeTheFirstFrameClearsRecordingAtOnceAndLaterFramesAreNotWritten) {
    script_.finishAtOnce = false;
    startAndForget();
    recorder_->stopRecord();
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_THAT(script_.take(), ElementsAre("video finished", "finish"));
    record(5);
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, StopWithoutAWriterDoesNothing) {
    recorder_->stopRecord();
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, NextRecordingMayBeginWhileTheLastOneFinishes) {
    script_.finishAtOnce = false;
    start("first.mp4");
    record(5);
    recorder_->stopRecord();
    start("second.mp4");
    record(6);
    EXPECT_THAT(script_.take(), Not(Contains("writer gone first.mp4")));
    script_.finishing.at("first.mp4")();
    EXPECT_EQ(ended_.size(), 1U);
    EXPECT_TRUE(recorder_->isRecording());
    EXPECT_FALSE(recorder_->isFirstSample());
    EXPECT_TRUE(recorder_->completionHandler());
    recorder_->stopRecord();
    script_.finishing.at("second.mp4")();
    EXPECT_THAT(ended_, ElementsAre(Pair(true, ""), Pair(true, "")));
}

TEST_F(KTAssetWriterManagerTest, StartWhileRecordingFinishesTheRecordingUnderWay) {
    start("first.mp4");
    record(5);
    start("second.mp4");
    EXPECT_THAT(ended_, ElementsAre(Pair(true, "")));
    EXPECT_TRUE(recorder_->isRecording());
}

TEST_F(KTAssetWriterManagerTest, DestructionStopsTheRecordingAndCallsTheHandler) {
    startAndForget();
    record(5);
    recorder_.reset();
    EXPECT_THAT(ended_, ElementsAre(Pair(true, "")));
    EXPECT_THAT(script_.take(), Contains("writer gone movie.mp4"));
}

// The second start

TEST_F(KTAssetWriterManagerTest, SecondStartMakesAQuickTimeMovieNamedByDateAndTime) {
    VideoSettings settings;
    settings.width = 640;
    settings.height = 480;
    recorder_->startRecordWithVideoSettingsAudioSettings(settings, AudioSettings());
    const auto file = folder_.path() / "20240305" / "150409.mp4";
    EXPECT_THAT(script_.take(), ElementsAre("quicktime " + file.string(), "video real time", "add video"));
    EXPECT_EQ(recorder_->movieURL(), file);
    EXPECT_TRUE(recorder_->isRecording());
    EXPECT_TRUE(recorder_->isFirstSample());
    EXPECT_EQ(recorder_->currentFrame(), 1);
    EXPECT_EQ(recorder_->startDate(), std::nullopt);
    EXPECT_EQ(recorder_->movieAudioInput(), nullptr);
    EXPECT_FALSE(recorder_->completionHandler());
    EXPECT_EQ(recorder_->moviePixelBufferAdaptor()->sourcePixelBufferAttributes().width, 640U);
}

TEST_F(KTAssetWriterManagerTest, SecondStartWithoutASizeAnnouncesZero) {
    recorder_->startRecordWithVideoSettingsAudioSettings(VideoSettings(), std::nullopt);
    EXPECT_EQ(recorder_->moviePixelBufferAdaptor()->sourcePixelBufferAttributes().width, 0U);
    EXPECT_EQ(recorder_->moviePixelBufferAdaptor()->sourcePixelBufferAttributes().height, 0U);
}

TEST_F(KTAssetWriterManagerTest, SecondStartWithoutAWriterStopsWithoutReport) {
    script_.refuseWriter = true;
    recorder_->startRecordWithVideoSettingsAudioSettings(VideoSettings(), std::nullopt);
    EXPECT_FALSE(recorder_->isRecording());
}

TEST_F(KTAssetWriterManagerTest, TwoRecordingsWithinOneSecondWriteTheSamePathAndTheSecondDeletesTheFirst) {
    const auto first = recorder_->getNewURL();
    std::ofstream(first) << "a movie";
    ASSERT_TRUE(std::filesystem::exists(first));
    now_ += 400ms;
    EXPECT_EQ(recorder_->getNewURL(), first);
    EXPECT_FALSE(std::filesystem::exists(first));
    now_ += 1s;
    EXPECT_NE(recorder_->getNewURL(), first);
}

TEST_F(KTAssetWriterManagerTest, FolderOfTheDayIsMadeButNotTheFoldersAboveIt) {
    const auto missing = folder_.path() / "missing";
    KTAssetWriterManager recorder(nullptr, {[this] { return now_; }, missing});
    EXPECT_EQ(recorder.getNewURL(), missing / "20240305" / "150409.mp4");
    EXPECT_FALSE(std::filesystem::exists(missing));
    recorder_->getNewURL();
    EXPECT_TRUE(std::filesystem::is_directory(folder_.path() / "20240305"));
}

// Frames by the wall clock

TEST_F(KTAssetWriterManagerTest, WallClockFrameCountsSixHundredthsOfASecondSinceTheStart) {
    startAndForget();
    now_ += 2505ms;
    recorder_->recordPixelBuffer(frame_);
    EXPECT_THAT(script_.take(), ElementsAre("start", "session 1503/600", "video append 1503/600"));
    EXPECT_EQ(recorder_->currentFrame(), 1503);
}

TEST_F(KTAssetWriterManagerTest, TwoWallClockFramesWithinOneSixHundredthAreConsecutive) {
    startAndForget();
    now_ += 1s;
    recorder_->recordPixelBuffer(frame_);
    now_ += 1ms;
    recorder_->recordPixelBuffer(frame_);
    EXPECT_EQ(recorder_->currentFrame(), 601);
    EXPECT_THAT(script_.take(), Contains("video append 601/600"));
}

TEST_F(KTAssetWriterManagerTest, WallClockThatGoesBackNeverTurnsTimesBack) {
    startAndForget();
    now_ += 1s;
    recorder_->recordPixelBuffer(frame_);
    now_ -= 1h;
    recorder_->recordPixelBuffer(frame_);
    EXPECT_EQ(recorder_->currentFrame(), 601);
}

TEST_F(KTAssetWriterManagerTest, EmptyWallClockFrameIsIgnored) {
    startAndForget();
    recorder_->recordPixelBuffer(nullptr);
    EXPECT_THAT(script_.take(), IsEmpty());
    EXPECT_EQ(recorder_->currentFrame(), 0);
}

// Captured samples

TEST_F(KTAssetWriterManagerTest, VideoSampleStartsTheSessionAndIsAppended) {
    startAndForget();
    recorder_->recordSampleBuffer({frame_, at(5)});
    EXPECT_THAT(script_.take(), ElementsAre("start", "session 5/1000000000", "video append 5/1000000000"));
}

TEST_F(KTAssetWriterManagerTest, VideoSampleThatCannotBeAppendedStopsTheRecording) {
    startAndForget();
    script_.refuseSamples = true;
    recorder_->recordSampleBuffer({frame_, at(5)});
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_THAT(ended_, ElementsAre(Pair(false, "the writer's error")));
}

TEST_F(KTAssetWriterManagerTest, VideoSampleThatCannotStartTheWriterStopsTheRecording) {
    startAndForget();
    script_.refuseStart = true;
    recorder_->recordSampleBuffer({frame_, at(5)});
    EXPECT_FALSE(recorder_->isRecording());
}

TEST_F(KTAssetWriterManagerTest, AudioSampleIsAppendedOnlyOnceTheSessionHasStarted) {
    startAndForget();
    const SampleBuffer sound{nullptr, at(5), std::make_shared<AudioBuffer>()};
    recorder_->recordSampleBuffer(sound);
    EXPECT_THAT(script_.take(), IsEmpty());
    record(6);
    script_.take();
    recorder_->recordSampleBuffer(sound);
    EXPECT_THAT(script_.take(), ElementsAre("audio append 5/1000000000"));
    script_.ready = false;
    recorder_->recordSampleBuffer(sound);
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTAssetWriterManagerTest, AudioSampleThatCannotBeAppendedDoesNotStopTheRecording) {
    startAndForget();
    record(6);
    script_.refuseSamples = true;
    recorder_->recordSampleBuffer({nullptr, at(7), std::make_shared<AudioBuffer>()});
    EXPECT_TRUE(recorder_->isRecording());
    script_.refuseSamples = false;
}

TEST_F(KTAssetWriterManagerTest, SampleOfAnotherTypeAndSamplesWhileIdleAreIgnored) {
    recorder_->recordSampleBuffer({frame_, at(5)});
    startAndForget();
    recorder_->recordSampleBuffer({nullptr, at(5)});
    EXPECT_THAT(script_.take(), IsEmpty());
    EXPECT_TRUE(recorder_->isFirstSample());
}

// Camera frames

class AnyFrame final : public CameraFrame {
public:
    std::size_t width() const override { return 1280; }
    std::size_t height() const override { return 720; }
    bool draw(const PixelBuffer&) const override { return false; }
};

class CameraFrameRecorderTest : public KTAssetWriterManagerTest {
protected:
    void SetUp() override {
        recorder_ = std::make_unique<KTAssetWriterManager>(std::make_shared<FakeAssetWriterPlatform>(script_),
                                                           KTAssetWriterManager::madeOfCameraFrames());
    }
    void recordFrame(std::int64_t time) {
        recorder_->recordCameraFrameWithPresentationTime(std::make_shared<AnyFrame>(), {true, false},
                                                         at(time));
    }
};

TEST_F(CameraFrameRecorderTest, TakesFramesOfTheMoviesSize) {
    EXPECT_FALSE(recorder_->takesCameraFrames(1280, 720)); // there is no movie yet
    start();
    EXPECT_TRUE(recorder_->takesCameraFrames(1280, 720));
    EXPECT_FALSE(recorder_->takesCameraFrames(1280, 721));
    EXPECT_FALSE(recorder_->takesCameraFrames(1281, 720));
}

TEST_F(CameraFrameRecorderTest, FirstFrameStartsTheWriterAndTheSession) {
    startAndForget();
    recordFrame(5);
    recordFrame(6);
    EXPECT_THAT(script_.take(),
                ElementsAre("start", "session 5/1000000000", "video append frame mirrored 5/1000000000",
                            "video append frame mirrored 6/1000000000"));
}

TEST_F(CameraFrameRecorderTest, FrameIsIgnoredWhileIdleAndAtTimeZeroAndDroppedWhileTheWriterIsBusy) {
    recordFrame(5);
    startAndForget();
    recordFrame(0);
    EXPECT_THAT(script_.take(), IsEmpty());
    recordFrame(5);
    script_.take();
    script_.ready = false;
    recordFrame(6);
    EXPECT_THAT(script_.take(), IsEmpty());
    EXPECT_TRUE(recorder_->isRecording());
}

TEST_F(CameraFrameRecorderTest, RefusedFrameEndsTheRecordingWithTheWritersError) {
    startAndForget();
    script_.refuseSamples = true;
    recordFrame(5);
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_THAT(ended_, ElementsAre(Pair(false, "the writer's error")));
}

TEST_F(KTAssetWriterManagerTest, TakesNoCameraFramesIfNobodySaysSo) {
    start();
    EXPECT_FALSE(recorder_->takesCameraFrames(1280, 720));
}

} // namespace
} // namespace tavelo::testing
