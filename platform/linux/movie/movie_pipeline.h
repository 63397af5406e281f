// SPDX-License-Identifier: MIT
// Encoders, muxer and file of one movie.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "platform/asset_writer.h"
#include "platform/diagnostics.h"
#include "platform/linux/movie/audio_encoder.h"
#include "platform/linux/movie/fragment_muxer.h"
#include "platform/linux/movie/movie_file.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {

/// What a movie is made of; at least one track.
struct MovieDescription {
    std::string path;
    MovieFileType type = MovieFileType::mpeg4;
    std::optional<VideoEncoderSettings> video;
    std::optional<AudioSettings> audio;
};

/// Opened on the thread that starts a movie, then bound to the writer's.  After a failure it writes nothing
/// more, but can be finished.
class MoviePipeline {
public:
    /// Null with the reason.
    /// @param diagnostics must outlive the pipeline; told which encoder was chosen
    static std::unique_ptr<MoviePipeline> open(const MovieDescription& description, Diagnostics& diagnostics,
                                               Error& error);

    /// @return why the movie cannot go on; nothing while it can
    std::optional<Error> encodeVideo(const AVFrame& frame);
    std::optional<Error> encodeAudio(const AudioBuffer& sound, std::chrono::nanoseconds start);

    /// Closes the movie, and makes an ordinary one of it where that can be done.
    std::optional<Error> finish();

private:
    MoviePipeline(MovieDescription description, Diagnostics& diagnostics)
        : description_(std::move(description)),
          diagnostics_(diagnostics) {}
    bool openEncoders(Error& error);
    std::unique_ptr<VideoEncoder> openVideoEncoder(Error& error);
    int flush();
    std::optional<Error> failureOf(int result);

    const MovieDescription description_;
    Diagnostics& diagnostics_;
    std::unique_ptr<VideoEncoder> videoEncoder_;
    std::unique_ptr<AudioEncoder> audioEncoder_;
    std::unique_ptr<MovieFile> file_;
    std::unique_ptr<FragmentMuxer> muxer_; // writes into the file
    PacketSink videoSink_;
    PacketSink audioSink_;
    std::optional<Error> failure_;
};

} // namespace tavelo
