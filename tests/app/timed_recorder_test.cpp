// SPDX-License-Identifier: MIT
#include "app/timed_recorder.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "fake_asset_writer.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

class TimedRecorderTest : public ::testing::Test {
protected:
    std::unique_ptr<TimedRecorder> recorder(std::optional<std::chrono::duration<double>> duration) {
        auto recorder = std::make_unique<TimedRecorder>(
            std::make_shared<testing::FakeAssetWriterPlatform>(script_), duration);
        recorder->startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(frame_, "movie.mp4",
                                                                                         {}, {});
        return recorder;
    }

    void feed(TimedRecorder& recorder, std::chrono::nanoseconds time) {
        if (recorder.isRecording())
            recorder.recordPixelBufferWithPresentationTime(frame_, MediaTime::fromNanoseconds(time));
    }

    std::ptrdiff_t appended() {
        return std::ranges::count_if(
            script_.take(), [](const std::string& call) { return call.starts_with("video append"); });
    }

    testing::WriterScript script_;
    std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(16);
    std::shared_ptr<PixelBuffer> frame_ = std::make_shared<PixelBuffer>(
        PixelFormat::bgra32, 2, 2, std::vector<PixelBuffer::Plane>{{bytes_.data(), 2, 2, 8}}, nullptr);
};

TEST_F(TimedRecorderTest, RecordsTheFramesWithinItsDuration) {
    const auto recorder = this->recorder(2s);
    for (int frame = 0; frame < 100; ++frame)
        feed(*recorder, 5s + frame * 33'333'333ns); // rounded down, like cameras do
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(appended(), 60);
}

/// A camera frame, of which only the size counts here.
class SizedFrame final : public CameraFrame {
public:
    std::size_t width() const override { return 2; }
    std::size_t height() const override { return 2; }
    bool draw(const PixelBuffer&) const override { return false; }
};

TEST_F(TimedRecorderTest, CameraFramesCountLikePictures) {
    const auto recorder = this->recorder(2s);
    EXPECT_TRUE(recorder->takesCameraFrames(2, 2));
    const auto frame = std::make_shared<SizedFrame>();
    for (int number = 0; number < 100 && recorder->isRecording(); ++number)
        recorder->recordCameraFrameWithPresentationTime(
            frame, {}, MediaTime::fromNanoseconds(5s + number * 33'333'333ns));
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(appended(), 60);
}

TEST_F(TimedRecorderTest, UnevenFramesChangeTheCountButNotTheDuration) {
    const auto recorder = this->recorder(1s);
    for (const auto time : {100ms, 110ms, 500ms, 600ms, 1040ms, 1200ms})
        feed(*recorder, time);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(appended(), 4) << "the frame at 1040 ms is closer to the end than to the frame before it";
}

TEST_F(TimedRecorderTest, WithoutADurationRecordsUntilStopped) {
    const auto recorder = this->recorder({});
    for (int frame = 0; frame < 1000; ++frame)
        feed(*recorder, 1s + frame * 1s);
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_EQ(appended(), 1000);
}

} // namespace
} // namespace tavelo
