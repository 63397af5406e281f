// SPDX-License-Identifier: MIT
// The movie writer, based on FFmpeg's libraries.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

#include "platform/diagnostics.h"
#include "platform/linux/movie/ffmpeg_asset_writer_input.h"
#include "platform/linux/movie/frame_pool.h"
#include "platform/linux/movie/movie_pipeline.h"
#include "platform/linux/movie/picture_converter.h"
#include "platform/serial_queue.h"

namespace tavelo {

/// Pictures are converted, or drawn by their camera frames, on the thread that appends them (that is the
/// copy, and takes about as long as one).  They are encoded and written on the writer's own thread, where the
/// encoders are also opened.  Eight pictures may wait in between.
class FfmpegAssetWriter final : public AssetWriter, private MovieSampleTaker {
public:
    /// @param diagnostics must outlive the writer
    FfmpegAssetWriter(std::string path, MovieFileType type, MovieTools tools, Diagnostics& diagnostics);
    /// Leaves a movie that is finishing in fragments, so that nobody waits for the copy.
    ~FfmpegAssetWriter() override;

    FfmpegAssetWriter(const FfmpegAssetWriter&) = delete;
    FfmpegAssetWriter& operator=(const FfmpegAssetWriter&) = delete;

    bool canAddInput(const AssetWriterInput& input) const override;
    void addInput(std::shared_ptr<AssetWriterInput> input) override;
    bool startWriting() override;
    void startSessionAtSourceTime(const MediaTime& time) override;
    void finishWritingWithCompletionHandler(FinishHandler handler) override;
    AssetWriterStatus status() const override;
    Error error() const override;

private:
    bool isReady(MediaType type) const override;
    bool append(MediaType type, const SampleBuffer& sample) override;

    bool prepareFrames();
    bool appendPicture(const SampleBuffer& sample);
    bool drawInto(AVFrame& frame, const SampleBuffer& sample);
    bool appendSound(const std::shared_ptr<const AudioBuffer>& sound, const MediaTime& time);
    bool acceptsTime(const MediaTime& time);
    bool fail(const Error& error);
    void finish(const FinishHandler& handler);

    // On the thread that feeds the writer
    MovieDescription description_;
    const MovieTools tools_;
    Diagnostics& diagnostics_;
    std::shared_ptr<FfmpegAssetWriterInput> videoInput_;
    std::shared_ptr<FfmpegAssetWriterInput> audioInput_;
    std::optional<PictureConverter> converter_;
    std::optional<MediaTime> sessionStart_;
    std::optional<MediaTime> lastTime_;
    std::int64_t lastTicks_ = -1;

    FramePool frames_;
    std::atomic<int> queuedSounds_ = 0;

    mutable std::mutex stateMutex_; // guards the two below
    AssetWriterStatus status_ = AssetWriterStatus::unknown;
    Error error_;

    // On the writer's thread once it has started
    std::unique_ptr<MoviePipeline> pipeline_;

    std::stop_source hurry_;
    SerialQueue queue_{"kt.movieWriter"}; // last: it finishes its tasks while the others still exist
};

} // namespace tavelo
