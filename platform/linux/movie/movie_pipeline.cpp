// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_pipeline.h"

#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/movie_finisher.h"

namespace tavelo {

std::unique_ptr<MoviePipeline> MoviePipeline::open(const MovieDescription& description,
                                                   Diagnostics& diagnostics, Error& error) {
    std::unique_ptr<MoviePipeline> pipeline(new MoviePipeline(description, diagnostics));
    if (!pipeline->openEncoders(error)) return nullptr;
    pipeline->file_ = MovieFile::create(description.path, error);
    if (!pipeline->file_) return nullptr;
    const VideoEncoder* video = pipeline->videoEncoder_.get();
    const AudioEncoder* audio = pipeline->audioEncoder_.get();
    pipeline->muxer_ = FragmentMuxer::open(*pipeline->file_, description.type,
                                           video != nullptr ? &video->context() : nullptr,
                                           audio != nullptr ? &audio->context() : nullptr, error);
    if (!pipeline->muxer_) {
        pipeline->file_->remove();
        return nullptr;
    }
    FragmentMuxer* muxer = pipeline->muxer_.get();
    pipeline->videoSink_ = [muxer](AVPacket& packet) { return muxer->writeVideo(packet); };
    // The encoder's lead-in lies before the movie.
    pipeline->audioSink_ = [muxer](AVPacket& packet) {
        return packet.pts < 0 ? 0 : muxer->writeAudio(packet);
    };
    return pipeline;
}

bool MoviePipeline::openEncoders(Error& error) {
    if (description_.video) {
        videoEncoder_ = openVideoEncoder(error);
        if (!videoEncoder_) return false;
    }
    if (description_.audio) {
        audioEncoder_ = AudioEncoder::open(*description_.audio, error);
        if (!audioEncoder_) return false;
    }
    return true;
}

std::unique_ptr<VideoEncoder> MoviePipeline::openVideoEncoder(Error& error) {
    Error reason;
    if (auto encoder = openHardwareEncoder(*description_.video, reason)) {
        diagnostics_.report(description_.path, "H.264 by the graphics card: " + encoder->name());
        return encoder;
    }
    auto encoder = openSoftwareEncoder(*description_.video, error);
    if (encoder)
        diagnostics_.report(description_.path,
                            "H.264 by the processor: " + encoder->name() + "; " + reason.text);
    return encoder;
}

std::optional<Error> MoviePipeline::encodeVideo(const AVFrame& frame) {
    if (!failure_) failure_ = failureOf(videoEncoder_->encode(&frame, videoSink_));
    return failure_;
}

std::optional<Error> MoviePipeline::encodeAudio(const AudioBuffer& sound, std::chrono::nanoseconds start) {
    if (!failure_) failure_ = failureOf(audioEncoder_->encode(sound, start, audioSink_));
    return failure_;
}

std::optional<Error> MoviePipeline::failureOf(int result) {
    if (result >= 0) return std::nullopt;
    if (file_->failure() != 0) return fileError(file_->failure(), "the movie cannot be written");
    return ffmpegError(result, "the movie cannot be encoded");
}

int MoviePipeline::flush() {
    int result = 0;
    if (videoEncoder_) result = videoEncoder_->encode(nullptr, videoSink_);
    if (audioEncoder_ && result >= 0) result = audioEncoder_->finish(audioSink_);
    const int finished = muxer_->finish();
    return result < 0 ? result : finished;
}

std::optional<Error> MoviePipeline::finish() {
    const auto ended = failureOf(flush());
    if (!failure_) failure_ = ended;
    const MovieContent& content = muxer_->content();
    if (content.video.packets + content.audio.packets == 0) {
        file_->remove();
        if (!failure_) failure_ = movieError(ErrorCode::invalid, "nothing was recorded");
    } else if (file_->failure() == 0) {
        // A movie in fragments is a movie: it plays, and what was recorded is in it.
        if (const auto reason = makeOrdinaryMovie(*file_, description_.type, content))
            diagnostics_.report(description_.path, reason->text);
    }
    return failure_;
}

} // namespace tavelo
