// SPDX-License-Identifier: MIT
// How the renderer starts, feeds and stops its recorder.
#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "fake_asset_writer.h"
#include "fake_backend.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class KTMTKViewMoviesTest : public ::testing::Test {
protected:
    void SetUp() override {
        view_.setAssetWriteManager(
            std::make_shared<KTAssetWriterManager>(std::make_shared<FakeAssetWriterPlatform>(script_)));
    }
    void draw(std::size_t width, std::size_t height, std::chrono::nanoseconds time) {
        view_.drawPixelBufferWithPresentationTime(PixelBuffer::create(PixelFormat::bgra32, width, height),
                                                  MediaTime::fromNanoseconds(time));
        settle();
    }
    void settle() {
        view_.renderQueue().sync([] {});
    }
    void start() {
        view_.startRecordWithFilePathAudioOutputSettingsCompletionHandler(
            "movie.mp4", std::nullopt, [this](bool success, const Error& error) {
                ended_.emplace_back(success, error);
                endedOnRenderQueue_ = view_.renderQueue().isCurrent();
            });
        settle();
    }

    WriterScript script_;
    std::vector<std::pair<bool, Error>> ended_;
    bool endedOnRenderQueue_ = false;
    BackendLog log_;
    KTMTKView view_{QRect(), fakeBackend(log_)};
};

TEST_F(KTMTKViewMoviesTest, StartBeforeTheFirstFrameReportsNotRendering) {
    start();
    ASSERT_EQ(ended_.size(), 1U);
    EXPECT_FALSE(ended_[0].first);
    EXPECT_EQ(ended_[0].second.text, "Not rending");
    EXPECT_EQ(ended_[0].second.code, ErrorCode::none);
    EXPECT_EQ(ended_[0].second.domain, "");
    EXPECT_TRUE(endedOnRenderQueue_);
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTMTKViewMoviesTest, ReportsAWriterThatCannotBeMadeOnTheRenderQueue) {
    draw(64, 48, 1ms);
    script_.refuseWriter = true;
    start();
    ASSERT_EQ(ended_.size(), 1U);
    EXPECT_EQ(ended_[0].second.text, "cannot be made");
    EXPECT_TRUE(endedOnRenderQueue_);
}

TEST_F(KTMTKViewMoviesTest, BlackPictureAfterUnpluggingIsNotRecordedAndTheMovieSucceeds) {
    draw(64, 48, 1ms);
    start();
    draw(64, 48, 2ms);
    view_.drawBlack();
    settle();
    EXPECT_THAT(script_.take(), ElementsAre("mpeg4 movie.mp4", "add video", "audio real time", "add audio",
                                            "start", "session 2000000/1000000000",
                                            "video append 2000000/1000000000", "video finished", "finish"));
    ASSERT_EQ(ended_.size(), 1U);
    EXPECT_TRUE(ended_[0].first);
    EXPECT_THAT(log_.take(), Contains("correct 4x3").Times(3));
}

TEST_F(KTMTKViewMoviesTest, FrameThatCouldNotBeDrawnIsNotWritten) {
    draw(64, 48, 1ms);
    start();
    draw(64, 48, 2ms);
    log_.lost = true;
    draw(64, 48, 3ms);
    log_.lost = false;
    log_.hangs = true;
    draw(64, 48, 4ms);
    log_.hangs = false;
    draw(64, 48, 5ms);
    const auto calls = script_.take();
    EXPECT_THAT(calls, Contains("video append 5000000/1000000000"));
    EXPECT_THAT(calls, Not(Contains("video append 3000000/1000000000")));
    EXPECT_THAT(calls, Not(Contains("video append 4000000/1000000000")));
    EXPECT_EQ(view_.drawnFrames(), 3U);
}

TEST_F(KTMTKViewMoviesTest, FrameThatFindsOneWaitingWhileAMovieIsRecordedWaitsForItsTurn) {
    draw(64, 48, 1ms);
    start();
    std::promise<void> busy; // a screen that blocks the preview
    view_.renderQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    std::promise<void> offered;
    std::thread camera([&] {
        for (const auto time : {2ms, 3ms, 4ms})
            view_.drawPixelBufferWithPresentationTime(PixelBuffer::create(PixelFormat::bgra32, 64, 48),
                                                      MediaTime::fromNanoseconds(time));
        offered.set_value();
    });
    EXPECT_EQ(offered.get_future().wait_for(100ms), std::future_status::timeout);
    busy.set_value();
    camera.join();
    settle();
    const auto calls = script_.take();
    for (const char* time : {"2000000", "3000000", "4000000"})
        EXPECT_THAT(calls, Contains("video append " + std::string(time) + "/1000000000"));
}

TEST_F(KTMTKViewMoviesTest, FramesFromTheStartToTheStopAreWrittenWithTheirCaptureTimes) {
    draw(64, 48, 1ms);
    start();
    draw(64, 48, 2ms);
    draw(64, 48, 3ms);
    view_.stopRecord();
    draw(64, 48, 4ms);
    EXPECT_THAT(script_.take(),
                ElementsAre("mpeg4 movie.mp4", "add video", "audio real time", "add audio", "start",
                            "session 2000000/1000000000", "video append 2000000/1000000000",
                            "video append 3000000/1000000000", "video finished", "finish"));
    ASSERT_EQ(ended_.size(), 1U);
    EXPECT_TRUE(ended_[0].first);
}

TEST_F(KTMTKViewMoviesTest, MovieKeepsTheSizeOfTheCorrectedFrameAtStartWhenTheCameraChangesIts) {
    draw(64, 48, 1ms);
    start();
    draw(32, 32, 2ms);
    EXPECT_EQ(script_.videoSettings->width, 64U);
    EXPECT_EQ(script_.videoSettings->height, 48U);
    EXPECT_THAT(script_.take(), Contains("video append 2000000/1000000000"));
}

TEST_F(KTMTKViewMoviesTest, StopBeforeAnyStartDoesNothing) {
    draw(64, 48, 1ms);
    view_.stopRecord();
    settle();
    EXPECT_THAT(script_.take(), IsEmpty());
}

TEST_F(KTMTKViewMoviesTest, DestroyedViewFinishesTheMovie) {
    {
        KTMTKView view(QRect(), fakeBackend(log_));
        view.setAssetWriteManager(
            std::make_shared<KTAssetWriterManager>(std::make_shared<FakeAssetWriterPlatform>(script_)));
        view.drawPixelBufferWithPresentationTime(PixelBuffer::create(PixelFormat::bgra32, 8, 8),
                                                 MediaTime::fromNanoseconds(1ms));
        view.startRecordWithFilePathAudioOutputSettingsCompletionHandler(
            "movie.mp4", std::nullopt,
            [this](bool success, const Error& error) { ended_.emplace_back(success, error); });
    }
    ASSERT_EQ(ended_.size(), 1U);
    EXPECT_THAT(script_.take(), Contains("writer gone movie.mp4"));
}

} // namespace
} // namespace tavelo::testing
