// SPDX-License-Identifier: MIT
#include "platform/linux/movie/fragment_muxer.h"

#include <algorithm>

#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {
namespace {

// The most that a killed program loses, besides the frames on their way to the file.
constexpr std::int64_t fragmentDuration = videoTimeBase.den / 2;
constexpr std::int64_t durationOfASingleFrame = videoTimeBase.den / 30;

} // namespace

const char* formatName(MovieFileType type) {
    return type == MovieFileType::mpeg4 ? "mp4" : "mov";
}

std::unique_ptr<FragmentMuxer> FragmentMuxer::open(MovieFile& file, MovieFileType type,
                                                   const AVCodecContext* video, const AVCodecContext* audio,
                                                   Error& error) {
    std::unique_ptr<FragmentMuxer> muxer(new FragmentMuxer(file));
    AVFormatContext* output = nullptr;
    const int made = avformat_alloc_output_context2(&output, nullptr, formatName(type), nullptr);
    muxer->output_.reset(output);
    if (made < 0 || !muxer->held_) {
        error = ffmpegError(AVERROR(ENOMEM), "the movie cannot be begun");
        return nullptr;
    }
    output->pb = file.io();
    output->flags |= AVFMT_FLAG_CUSTOM_IO;
    // The time line already begins at 0; nothing may be shifted.
    output->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    muxer->content_.video.exists = video != nullptr;
    muxer->content_.audio.exists = audio != nullptr;
    const bool tracks = (video == nullptr || muxer->addTrack(*video, muxer->video_)) &&
                        (audio == nullptr || muxer->addTrack(*audio, muxer->audio_));
    const int written = tracks ? muxer->writeHeader(type) : AVERROR(ENOMEM);
    if (written >= 0 && file.endPiece()) return muxer;
    error = file.failure() != 0 ? fileError(file.failure(), "the movie cannot be begun")
                                : ffmpegError(written, "the movie cannot be begun");
    return nullptr;
}

bool FragmentMuxer::addTrack(const AVCodecContext& encoder, Track& track) {
    AVStream* stream = avformat_new_stream(output_.get(), nullptr);
    if (stream == nullptr || avcodec_parameters_from_context(stream->codecpar, &encoder) < 0) return false;
    stream->codecpar->initial_padding = 0; // the encoder's priming samples are not written
    stream->time_base = encoder.time_base;
    track = {stream, encoder.time_base};
    return true;
}

int FragmentMuxer::writeHeader(MovieFileType type) {
    AvOptions options;
    // "Discontinuous": a track that begins late keeps its time.
    options.set("movflags", type == MovieFileType::mpeg4
                                ? "frag_custom+empty_moov+frag_discont+default_base_moof"
                                : "frag_custom+empty_moov+frag_discont");
    return avformat_write_header(output_.get(), options.get());
}

int FragmentMuxer::writeVideo(AVPacket& packet) {
    if (holds_) {
        content_.video.lastDuration = packet.dts - held_->dts;
        if (const int written = writeHeld(content_.video.lastDuration); written < 0) return written;
    }
    av_packet_move_ref(held_.get(), &packet);
    holds_ = true;
    return 0;
}

int FragmentMuxer::writeHeld(std::int64_t duration) {
    holds_ = false;
    held_->duration = duration;
    const std::int64_t end = held_->dts + duration;
    if (const int written = write(*held_, video_); written < 0) return written;
    content_.video.lastDuration = duration;
    ++content_.video.packets;
    writtenEnd_ = std::max(writtenEnd_, end);
    // The first frame is written at once, so that even a movie cut short shows something.
    return content_.video.packets == 1 ? endFragment(end) : endFragmentInTime(end);
}

int FragmentMuxer::writeAudio(AVPacket& packet) {
    content_.audio.lastDuration = packet.duration;
    ++content_.audio.packets;
    const std::int64_t end = av_rescale_q(packet.pts + packet.duration, audio_.timeBase, videoTimeBase);
    if (const int written = write(packet, audio_); written < 0) return written;
    writtenEnd_ = std::max(writtenEnd_, end);
    return endFragmentInTime(end);
}

int FragmentMuxer::write(AVPacket& packet, const Track& track) {
    packet.stream_index = track.stream->index;
    av_packet_rescale_ts(&packet, track.timeBase, track.stream->time_base);
    const int written = av_write_frame(output_.get(), &packet);
    av_packet_unref(&packet);
    return written;
}

int FragmentMuxer::endFragmentInTime(std::int64_t now) {
    return now - fragmentStart_ < fragmentDuration ? 0 : endFragment(now);
}

int FragmentMuxer::endFragment(std::int64_t now) {
    fragmentStart_ = now;
    if (const int ended = av_write_frame(output_.get(), nullptr); ended < 0) return ended;
    return endPiece();
}

int FragmentMuxer::endPiece() {
    if (!file_.endPiece()) return AVERROR(file_.failure());
    keptEnd_ = writtenEnd_;
    return 0;
}

int FragmentMuxer::finish() {
    int result = 0;
    const std::int64_t duration = content_.video.lastDuration;
    if (holds_) result = writeHeld(duration > 0 ? duration : durationOfASingleFrame);
    const int ended = av_write_trailer(output_.get());
    if (const int kept = endPiece(); kept < 0) return kept;
    return result < 0 ? result : ended;
}

} // namespace tavelo
