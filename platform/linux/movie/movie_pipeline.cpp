// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_pipeline.h"

#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/file_beside.h"
#include "platform/linux/movie/h264_level.h"
#include "platform/linux/movie/movie_boxes.h"

namespace tavelo {
namespace {

// How far the sound may lag behind the pictures before its microphone counts as silent.
constexpr std::int64_t soundPatience = videoTimeBase.den;

} // namespace

std::unique_ptr<MoviePipeline> MoviePipeline::create(const MovieDescription& description,
                                                     const MovieTools& tools, Diagnostics& diagnostics,
                                                     Error& error) {
    std::unique_ptr<MoviePipeline> pipeline(new MoviePipeline(description, tools, diagnostics));
    pipeline->file_ = MovieFile::create(description.path, error);
    if (!pipeline->file_) return nullptr;
    return pipeline;
}

std::optional<Error> MoviePipeline::open() {
    if (FileBeside::removeLeftovers(description_.path))
        diagnostics_.report(description_.path, "removed what killed recordings had left beside it");
    Error error;
    if (!openEncoders(error) || !openMuxer(error)) failure_ = error;
    return failure_;
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
    if (auto encoder = tools_.encoders.hardware(*description_.video, reason)) {
        hardware_ = true;
        diagnostics_.report(description_.path, "H.264 by the graphics card: " + encoder->name());
        return encoder;
    }
    auto encoder = tools_.encoders.software(*description_.video, error);
    if (encoder)
        diagnostics_.report(description_.path,
                            "H.264 by the processor: " + encoder->name() + "; " + reason.text);
    return encoder;
}

bool MoviePipeline::openMuxer(Error& error) {
    muxer_ =
        FragmentMuxer::open(*file_, description_.type, videoEncoder_ ? &videoEncoder_->context() : nullptr,
                            audioEncoder_ ? &audioEncoder_->context() : nullptr, error);
    videoSink_ = [this](AVPacket& packet) {
        const int written = muxer_->writeVideo(packet);
        if (written < 0) sinkFailure_ = written;
        return written;
    };
    // The encoder's priming samples lie before the movie.
    audioSink_ = [this](AVPacket& packet) { return packet.pts < 0 ? 0 : muxer_->writeAudio(packet); };
    return muxer_ != nullptr;
}

std::optional<Error> MoviePipeline::encodeVideo(const AVFrame& frame) {
    if (failure_) return failure_;
    failure_ = failureOf(encode(frame));
    rate_.add(frame.pts);
    lastFrame_ = frame.pts;
    if (!failure_) markLevel(rate_.fastest());
    if (!failure_ && audioEncoder_) failure_ = failureOf(fillSound(lastFrame_ - soundPatience));
    return failure_;
}

int MoviePipeline::fillSound(std::int64_t until) {
    return audioEncoder_->fillUntil(
        std::chrono::nanoseconds(av_rescale_q(until, videoTimeBase, {1, std::nano::den})), audioSink_);
}

int MoviePipeline::encode(const AVFrame& frame) {
    const int result = videoEncoder_->encode(&frame, videoSink_);
    // If the file cannot be written, the encoder is not at fault.
    if (result >= 0 || sinkFailure_ < 0 || !hardware_) return result;
    return encodeInSoftware(frame, result);
}

int MoviePipeline::encodeInSoftware(const AVFrame& frame, int reason) {
    const std::string failed =
        ffmpegError(reason, "the graphics card's " + videoEncoder_->name() + " failed").text;
    // Fetches the earlier frames that the encoder still holds.  It may hold this one too; the software
    // encoder encodes that again.
    videoEncoder_->encode(nullptr,
                          [&](AVPacket& packet) { return packet.pts < frame.pts ? videoSink_(packet) : 0; });
    if (sinkFailure_ < 0) return sinkFailure_;
    VideoEncoderSettings settings = *description_.video;
    settings.takesOver = true;
    if (rate_.fastest() > 0) settings.framesPerSecond = rate_.fastest();
    Error error;
    auto encoder = tools_.encoders.software(settings, error);
    if (!encoder) {
        diagnostics_.report(description_.path, failed + "; " + error.text);
        return reason;
    }
    hardware_ = false;
    videoEncoder_ = std::move(encoder);
    diagnostics_.report(description_.path, failed + "; H.264 by the processor: " + videoEncoder_->name());
    return videoEncoder_->encode(&frame, videoSink_);
}

// Marked while recording, so that the file states its level even if the program is killed.
void MoviePipeline::markLevel(double framesPerSecond) {
    const std::uint8_t level =
        h264LevelFor(description_.video->width, description_.video->height, framesPerSecond);
    if (level <= level_) return;
    level_ = level;
    if (!raiseH264Level(file_->descriptor(), level))
        diagnostics_.report(description_.path, "its H.264 level could not be marked");
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
    if (audioEncoder_ && result >= 0) result = fillSound(lastFrame_);
    if (audioEncoder_ && result >= 0) result = audioEncoder_->finish(audioSink_);
    const int finished = muxer_->finish();
    return result < 0 ? result : finished;
}

std::optional<Error> MoviePipeline::finish(const std::stop_token& hurry) {
    if (muxer_) {
        const auto ended = failureOf(flush());
        if (!failure_) failure_ = ended;
        if (!failure_ && description_.video) markLevel(rate_.fastestAtTheEnd());
    }
    if (!muxer_ || muxer_->end() == 0) {
        if (!file_->remove()) diagnostics_.report(description_.path, "the empty file could not be removed");
        if (!failure_) failure_ = movieError(ErrorCode::invalid, "nothing was recorded");
    } else if (file_->failure() == 0) {
        makeOrdinary(hurry);
    }
    return failure_;
}

void MoviePipeline::makeOrdinary(const std::stop_token& hurry) {
    const auto reason = tools_.makeOrdinary(*file_, description_.type, muxer_->content(), hurry);
    if (!reason) return;
    // A fragmented movie still plays and contains everything recorded.
    diagnostics_.report(description_.path, reason->text);
    if (hurry.stop_requested() || failure_) return;
    if (const int failed = file_->sync(); failed != 0)
        failure_ = fileError(failed, "the movie cannot be written");
}

std::optional<std::chrono::duration<double>> MoviePipeline::kept() const {
    if (!muxer_ || muxer_->end() == 0) return std::nullopt;
    return std::chrono::duration<double>(double(muxer_->end()) / videoTimeBase.den);
}

} // namespace tavelo
