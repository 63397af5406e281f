// SPDX-License-Identifier: MIT
// How the renderer starts, feeds and stops its recorder.
#include <gmock/gmock.h>

#include "fake_asset_writer.h"
#include "fake_backend.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
            "movie.mp4", std::nullopt,
            [this](bool success, const Error& error) { ended_.emplace_back(success, error); });
        settle();
    }

    WriterScript script_;
    std::vector<std::pair<bool, Error>> ended_;
    BackendLog log_;
    KTMTKView view_{QRect(), fakeBackend(log_)};
};

TEST_F(KTMTKViewMoviesTest, StartBeforeTheFirstFrameIsToldNotRendingAndNothingElseHappens) {
    start();
    ASSERT_EQ(ended_.size(), 1U);
    EXPECT_FALSE(ended_[0].first);
    EXPECT_EQ(ended_[0].second.text, "Not rending");
    EXPECT_EQ(ended_[0].second.code, ErrorCode::none);
    EXPECT_EQ(ended_[0].second.domain, "");
    EXPECT_THAT(script_.take(), IsEmpty());
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
