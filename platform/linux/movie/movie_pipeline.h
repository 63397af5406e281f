// SPDX-License-Identifier: MIT
// Encoders, muxer and file of one movie.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "platform/asset_writer.h"
#include "platform/diagnostics.h"
#include "platform/linux/movie/audio_encoder.h"
#include "platform/linux/movie/fragment_muxer.h"
#include "platform/linux/movie/frame_rate_meter.h"
#include "platform/linux/movie/movie_file.h"
#include "platform/linux/movie/movie_finisher.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {

/// The tracks of a movie (at least one) and its file.
struct MovieDescription {
    std::string path;
    MovieFileType type = MovieFileType::mpeg4;
    std::optional<VideoEncoderSettings> video;
    std::optional<AudioSettings> audio;
};

/// What movies are made with; tests use their own.
struct MovieTools {
    VideoEncoders encoders;
    OrdinaryMovieMaker makeOrdinary = [](const MovieFile& movie, MovieFileType type,
                                         const MovieContent& content, const std::stop_token& hurry) {
        return makeOrdinaryMovie(movie, type, content, hurry);
    };
};

/// Created on the thread that starts a movie, then bound to the writer's.  After a failure it writes
/// nothing more, but can be finished.
class MoviePipeline {
public:
    /// Creates the file, and does nothing else that takes time.  Null with the reason.
    /// @param tools, diagnostics must outlive the pipeline
    static std::unique_ptr<MoviePipeline> create(const MovieDescription& description, const MovieTools& tools,
                                                 Diagnostics& diagnostics, Error& error);

    // On the writer's thread; each returns the error that ends the movie, or nothing

    /// Opens the encoders and writes the header.  Called once, before the others.
    std::optional<Error> open();
    std::optional<Error> encodeVideo(const AVFrame& frame);
    std::optional<Error> encodeAudio(const AudioBuffer& sound, std::chrono::nanoseconds start);

    /// Ends the movie, and turns it into an ordinary one if that is possible and nobody is in a hurry.
    std::optional<Error> finish(const std::stop_token& hurry);

    /// How much is in the file and can be played.  Nothing if the file is empty.
    std::optional<std::chrono::duration<double>> kept() const;

private:
    MoviePipeline(const MovieDescription& description, const MovieTools& tools, Diagnostics& diagnostics)
        : description_(description),
          tools_(tools),
          diagnostics_(diagnostics) {}
    bool openEncoders(Error& error);
    std::unique_ptr<VideoEncoder> openVideoEncoder(Error& error);
    bool openMuxer(Error& error);
    int encode(const AVFrame& frame);
    int encodeInSoftware(const AVFrame& frame, int reason);
    void markLevel(double framesPerSecond);
    int fillSound(std::int64_t until);
    int flush();
    void makeOrdinary(const std::stop_token& hurry);
    std::optional<Error> failureOf(int result);

    const MovieDescription description_;
    const MovieTools& tools_;
    Diagnostics& diagnostics_;
    std::unique_ptr<VideoEncoder> videoEncoder_;
    bool hardware_ = false; // if so, the video encoder may still be replaced
    std::unique_ptr<AudioEncoder> audioEncoder_;
    std::unique_ptr<MovieFile> file_;
    std::unique_ptr<FragmentMuxer> muxer_; // writes into the file
    PacketSink videoSink_;
    PacketSink audioSink_;
    int sinkFailure_ = 0; // FFmpeg's code; 0 while the muxer works
    FrameRateMeter rate_;
    std::int64_t lastFrame_ = 0; // its time, in videoTimeBase
    std::uint8_t level_ = 0;     // in the file so far
    std::optional<Error> failure_;
};

} // namespace tavelo
