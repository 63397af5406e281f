// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_finisher.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/movie/descriptor_output.h"
#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/movie_boxes.h"

namespace tavelo {
namespace {

// More than the index ever takes: sizes, times, offsets and key frames per sample, and a fixed part per
// track.
constexpr std::int64_t indexBytesPerSample = 40;
constexpr std::int64_t indexBytesOnce = 16384;

/// Copies packets from one container to another.
class Remuxer {
public:
    explicit Remuxer(DescriptorOutput& file) : file_(file) {}

    int open(const std::string& from, MovieFileType type, const MovieContent& content) {
        AVFormatContext* input = nullptr;
        const int opened = avformat_open_input(&input, from.c_str(), nullptr, nullptr);
        input_.reset(input);
        if (opened < 0) return opened;
        AVFormatContext* output = nullptr;
        const int made = avformat_alloc_output_context2(&output, nullptr, formatName(type), nullptr);
        output_.reset(output);
        if (made < 0) return made;
        output->pb = file_.io();
        output->flags |= AVFMT_FLAG_CUSTOM_IO;
        for (unsigned i = 0; i < input->nb_streams; ++i) {
            if (const int added = addStream(*input->streams[i], content); added < 0) return added;
        }
        // The index goes to the front, into reserved room, so the file needs no second pass.
        const std::int64_t samples = content.video.packets + content.audio.packets;
        const std::int64_t room = std::min<std::int64_t>(samples * indexBytesPerSample + indexBytesOnce,
                                                         std::numeric_limits<int>::max());
        AvOptions options;
        options.set("moov_size", room);
        return avformat_write_header(output, options.get());
    }

    int copy(const std::stop_token& hurry) {
        const AvPacket packet(av_packet_alloc());
        if (!packet) return AVERROR(ENOMEM);
        for (;;) {
            if (hurry.stop_requested()) return AVERROR_EXIT;
            const int read = av_read_frame(input_.get(), packet.get());
            if (read == AVERROR_EOF) break;
            if (read < 0) return read;
            const int written = write(*packet);
            av_packet_unref(packet.get());
            if (written < 0) return written;
            if (const int failed = file_.flush(); failed != 0) return AVERROR(failed);
        }
        if (const int ended = av_write_trailer(output_.get()); ended < 0) return ended;
        return AVERROR(file_.flush());
    }

private:
    struct Stream {
        int output = -1;
        std::int64_t lastDuration = 0;
    };

    int addStream(const AVStream& from, const MovieContent& content) {
        const bool sound = from.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
        streams_.push_back({-1, 0});
        const MovieContent::Track& track = sound ? content.audio : content.video;
        if (track.packets == 0) return 0; // the muxer omits such a track
        AVStream* to = avformat_new_stream(output_.get(), nullptr);
        if (to == nullptr) return AVERROR(ENOMEM);
        to->time_base = from.time_base;
        streams_.back() = {to->index, track.lastDuration};
        const int copied = avcodec_parameters_copy(to->codecpar, from.codecpar);
        to->codecpar->codec_tag = 0;
        return copied;
    }

    int write(AVPacket& packet) {
        const auto from = std::size_t(packet.stream_index);
        if (from >= streams_.size() || streams_[from].output < 0) return 0;
        packet.stream_index = streams_[from].output;
        // The last packet of a fragment has no duration, and that of the movie needs one.
        if (packet.duration <= 0) packet.duration = streams_[from].lastDuration;
        packet.pos = -1;
        av_packet_rescale_ts(&packet, input_->streams[from]->time_base,
                             output_->streams[packet.stream_index]->time_base);
        return av_interleaved_write_frame(output_.get(), &packet);
    }

    DescriptorOutput& file_;
    AvInput input_;
    AvOutput output_;
    std::vector<Stream> streams_; // by the input's numbers
};

int copy(const MovieFile& movie, DescriptorOutput& file, MovieFileType type, const MovieContent& content,
         const std::stop_token& hurry) {
    Remuxer remuxer(file);
    // Opens the file by its descriptor: its path may belong to another file by now.
    const std::string self = "file:/proc/self/fd/" + std::to_string(movie.descriptor());
    const int opened = remuxer.open(self, type, content);
    return opened < 0 ? opened : remuxer.copy(hurry);
}

} // namespace

std::optional<Error> makeOrdinaryMovie(const MovieFile& movie, MovieFileType type,
                                       const MovieContent& content, const std::stop_token& hurry,
                                       FileBeside::Kind kind) {
    const std::string what = "the movie stays in fragments";
    if (!movie.isInPlace()) return movieError(ErrorCode::gone, what + ": it was moved or deleted");
    FileBeside ordinary(movie.path(), kind);
    if (ordinary.failure() != 0) return fileError(ordinary.failure(), what);
    DescriptorOutput file(ordinary.descriptor());
    const int copied = copy(movie, file, type, content, hurry);
    if (hurry.stop_requested()) return movieError(ErrorCode::busy, what + ": the program ends");
    if (file.failure() != 0) return fileError(file.failure(), what);
    if (copied < 0) return ffmpegError(copied, what);
    if (content.audio.exists && content.audio.packets == 0) {
        const auto track = soundTrackOf(movie.descriptor());
        if (track.empty() || !addTrack(ordinary.descriptor(), track))
            return movieError(ErrorCode::invalid, what + ": it would lose its sound track");
    }
    if (!movie.isInPlace()) return movieError(ErrorCode::gone, what + ": it was moved or deleted");
    if (const int failed = ordinary.takePlace(movie.descriptor()); failed != 0)
        return fileError(failed, what);
    return std::nullopt;
}

} // namespace tavelo
