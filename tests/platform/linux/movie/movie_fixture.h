// SPDX-License-Identifier: MIT
// A movie on its way into a folder of its own.
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

    /// Where capture clocks stand after some days.
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
    /// From now on writers use tools_ as they are.
    void useTools() { platform_ = makeFfmpegAssetWriterPlatform(diagnostics_, tools_); }
    bool append(const std::shared_ptr<PixelBuffer>& picture, nanoseconds time) {
        awaitReady(*video_);
        return video_->appendSampleBuffer({picture, at(time)});
    }
    /// Pictures at 30 a second, from the first frame number on.
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
    test::RecordedDiagnostics diagnostics_;
    MovieTools tools_; // for the writers of a platform made with it
    std::shared_ptr<AssetWriterPlatform> platform_ = makeFfmpegAssetWriterPlatform(diagnostics_);
    std::shared_ptr<AssetWriterInput> video_;
    std::shared_ptr<AssetWriterInput> audio_;
    std::unique_ptr<AssetWriter> writer_;
};

} // namespace tavelo::testing
