// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_finisher.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/movie_boxes.h"

namespace tavelo {
namespace {

// More than the index ever takes: sizes, times, places and key frames of a sample, and what a track has once.
constexpr std::int64_t indexBytesPerSample = 40;
constexpr std::int64_t indexBytesOnce = 16384;

/// A file beside another, gone with its owner unless it has taken the other's place.
class FileBeside {
public:
    explicit FileBeside(const std::string& path) {
        const std::filesystem::path target(path);
        path_ = target.parent_path() / ("." + target.filename().string() + ".XXXXXX");
        std::string name = path_.string();
        descriptor_ = FileDescriptor(::mkostemp(name.data(), O_CLOEXEC));
        path_ = name;
    }
    ~FileBeside() {
        if (descriptor_.isOpen() && !path_.empty()) ::unlink(path_.c_str());
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    bool isOpen() const { return descriptor_.isOpen(); }
    int descriptor() const { return descriptor_.get(); }
    std::string url() const { return "file:" + path_.string(); }

    bool takePlaceOf(const MovieFile& file) {
        struct stat before {};
        if (::fstat(file.descriptor(), &before) != 0 || ::fchmod(descriptor(), before.st_mode & 07777) != 0 ||
            ::fsync(descriptor()) != 0 || ::rename(path_.c_str(), file.path().c_str()) != 0)
            return false;
        path_.clear();
        return true;
    }

private:
    std::filesystem::path path_;
    FileDescriptor descriptor_;
};

/// Copies packets from one container to another.
class Remuxer {
public:
    int open(const std::string& from, const std::string& to, MovieFileType type,
             const MovieContent& content) {
        AVFormatContext* input = nullptr;
        const int opened = avformat_open_input(&input, from.c_str(), nullptr, nullptr);
        input_.reset(input);
        if (opened < 0) return opened;
        AVFormatContext* output = nullptr;
        const int made = avformat_alloc_output_context2(&output, nullptr, formatName(type), to.c_str());
        output_.reset(output);
        if (made < 0) return made;
        for (unsigned i = 0; i < input->nb_streams; ++i) {
            if (const int added = addStream(*input->streams[i], content); added < 0) return added;
        }
        if (const int file = avio_open(&output->pb, to.c_str(), AVIO_FLAG_WRITE); file < 0) return file;
        // The index goes in front, into room left for it: no second pass over the file.
        const std::int64_t samples = content.video.packets + content.audio.packets;
        const std::int64_t room = std::min<std::int64_t>(samples * indexBytesPerSample + indexBytesOnce,
                                                         std::numeric_limits<int>::max());
        AvOptions options;
        options.set("moov_size", room);
        return avformat_write_header(output, options.get());
    }

    int copy() {
        const AvPacket packet(av_packet_alloc());
        if (!packet) return AVERROR(ENOMEM);
        for (;;) {
            const int read = av_read_frame(input_.get(), packet.get());
            if (read == AVERROR_EOF) break;
            if (read < 0) return read;
            const int written = write(*packet);
            av_packet_unref(packet.get());
            if (written < 0) return written;
        }
        if (const int ended = av_write_trailer(output_.get()); ended < 0) return ended;
        return avio_closep(&output_->pb);
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
        if (track.packets == 0) return 0; // the muxer leaves such a track out
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
        // The last packet of a fragment comes without one, and that of the movie needs it.
        if (packet.duration <= 0) packet.duration = streams_[from].lastDuration;
        packet.pos = -1;
        av_packet_rescale_ts(&packet, input_->streams[from]->time_base,
                             output_->streams[packet.stream_index]->time_base);
        return av_interleaved_write_frame(output_.get(), &packet);
    }

    AvInput input_;
    AvOutput output_;
    std::vector<Stream> streams_; // as the input numbers them
};

} // namespace

std::optional<Error> makeOrdinaryMovie(const MovieFile& movie, MovieFileType type,
                                       const MovieContent& content) {
    const std::string what = "the movie stays in fragments";
    if (!movie.isInPlace()) return movieError(ErrorCode::gone, what + ": it was moved or deleted");
    FileBeside ordinary(movie.path());
    if (!ordinary.isOpen()) return fileError(errno, what);
    {
        Remuxer remuxer;
        int result = remuxer.open("file:" + movie.path(), ordinary.url(), type, content);
        if (result >= 0) result = remuxer.copy();
        if (result < 0) return ffmpegError(result, what);
    }
    if (content.audio.exists && content.audio.packets == 0) {
        const auto track = soundTrackOf(movie.descriptor());
        if (track.empty() || !addTrack(ordinary.descriptor(), track))
            return movieError(ErrorCode::invalid, what + ": it would lose its sound track");
    }
    if (!movie.isInPlace()) return movieError(ErrorCode::gone, what + ": it was moved or deleted");
    if (!ordinary.takePlaceOf(movie)) return fileError(errno, what);
    return std::nullopt;
}

} // namespace tavelo
