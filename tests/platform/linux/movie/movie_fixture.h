// SPDX-License-Identifier: MIT
// A fixture that writes a movie into a temporary folder.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "movie_facts.h"
#include "moving_picture.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/linux/movie/movie_pipeline.h"
#include "support/recorded_diagnostics.h"
#include "support/temporary_folder.h"

namespace tavelo::testing {

class MovieTest : public ::testing::Test {
protected:
    using nanoseconds = std::chrono::nanoseconds;

    /// A typical capture clock after some days of uptime.
    static constexpr nanoseconds clockStart = std::chrono::hours(100) + nanoseconds(123'456'789);
    static constexpr nanoseconds frameInterval{33'333'333};

    static MediaTime at(nanoseconds sinceStart) {
        return MediaTime::fromNanoseconds(clockStart + sinceStart);
    }
    static VideoSettings videoSettings(std::uint32_t width, std::uint32_t height) {
        VideoSettings settings;
        settings.width = width;
        settings.height = height;
        settings.compressionProperties = {60, H264ProfileLevel::mainAutoLevel, {}};
        return settings;
    }

    void make(const std::optional<VideoSettings>& video, const std::optional<AudioSettings>& audio = {},
              MovieFileType type = MovieFileType::mpeg4) {
        Error error;
        writer_ = platform_->makeWriter(path_.string(), type, error);
        ASSERT_NE(writer_, nullptr) << error.text;
        video_ = platform_->makeVideoInput(video);
        if (writer_->canAddInput(*video_)) writer_->addInput(video_);
        audio_ = platform_->makeAudioInput(audio);
        if (writer_->canAddInput(*audio_)) writer_->addInput(audio_);
    }
    void start(const std::optional<VideoSettings>& video, const std::optional<AudioSettings>& audio = {},
               MovieFileType type = MovieFileType::mpeg4) {
        make(video, audio, type);
        ASSERT_TRUE(writer_->startWriting()) << writer_->error().text;
        writer_->startSessionAtSourceTime(at(nanoseconds(0)));
    }

    void awaitReady(const AssetWriterInput& input) {
        while (!input.isReadyForMoreMediaData())
            std::this_thread::yield();
    }
    /// Later writers use the current tools_.
    void useTools() { platform_ = makeFfmpegAssetWriterPlatform(diagnostics_, tools_); }
    /// Later movies stay as they are recorded.
    void keepFragments() {
        tools_.makeOrdinary = [](auto&&...) { return Error{ErrorCode::failed, "stays in fragments"}; };
        useTools();
    }
    bool append(const std::shared_ptr<PixelBuffer>& picture, nanoseconds time) {
        awaitReady(*video_);
        return video_->appendSampleBuffer({picture, at(time)});
    }
    /// Appends pictures at 30 per second, starting with frame number `first`.
    void appendPictures(int count, std::size_t width, std::size_t height, int first = 0,
                        nanoseconds interval = frameInterval) {
        for (int i = first; i < first + count; ++i)
            ASSERT_TRUE(append(makeMovingPicture(width, height, i), i * interval)) << writer_->error().text;
    }

    AssetWriterStatus finish() {
        video_->markAsFinished();
        std::promise<void> finished;
        writer_->finishWritingWithCompletionHandler([&] { finished.set_value(); });
        finished.get_future().wait();
        return writer_->status();
    }

    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.path() / "movie.mp4";
    RecordedDiagnostics diagnostics_;
    MovieTools tools_; // used by the writers of platforms made by useTools()
    std::shared_ptr<AssetWriterPlatform> platform_ = makeFfmpegAssetWriterPlatform(diagnostics_);
    std::shared_ptr<AssetWriterInput> video_;
    std::shared_ptr<AssetWriterInput> audio_;
    std::unique_ptr<AssetWriter> writer_;
};

} // namespace tavelo::testing
