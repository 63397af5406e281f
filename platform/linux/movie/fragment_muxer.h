// SPDX-License-Identifier: MIT
// A movie while it is recorded: in fragments that can be played as soon as they are written.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/asset_writer.h"
#include "platform/linux/movie/ffmpeg_handles.h"
#include "platform/linux/movie/movie_file.h"

namespace tavelo {

/// FFmpeg's name of a file type.
const char* formatName(MovieFileType type);

struct MovieContent {
    struct Track {
        bool exists = false;
        std::int64_t packets = 0;
        std::int64_t lastDuration = 0; ///< of the last packet, in units of the track
    };
    Track video;
    Track audio;
};

/// Ends a fragment twice per second of movie.  Thread-bound to one thread at a time.
class FragmentMuxer {
public:
    /// Writes the header with the tracks; either encoder may be null.
    /// @param file must outlive the muxer
    static std::unique_ptr<FragmentMuxer> open(MovieFile& file, MovieFileType type,
                                               const AVCodecContext* video, const AVCodecContext* audio,
                                               Error& error);

    /// Takes over the packet's data.  A frame is written when the next one determines its duration.
    int writeVideo(AVPacket& packet);
    int writeAudio(AVPacket& packet);

    /// The last frame lasts as long as the one before.
    int finish();

    /// What the finished movie contains.
    const MovieContent& content() const { return content_; }

    /// The end of what is in the file and can be played, in videoTimeBase.
    std::int64_t end() const { return keptEnd_; }

private:
    struct Track {
        AVStream* stream = nullptr; // belongs to the output
        AVRational timeBase{1, 1};
    };

    explicit FragmentMuxer(MovieFile& file) : file_(file), held_(av_packet_alloc()) {}
    bool addTrack(const AVCodecContext& encoder, Track& track);
    int writeHeader(MovieFileType type);
    int writeHeld(std::int64_t duration);
    int write(AVPacket& packet, const Track& track);
    int endFragmentInTime(std::int64_t now);
    int endFragment(std::int64_t now);
    int endPiece();

    MovieFile& file_;
    AvOutput output_;
    Track video_;
    Track audio_;
    AvPacket held_;
    bool holds_ = false;
    // In videoTimeBase
    std::int64_t fragmentStart_ = 0;
    std::int64_t writtenEnd_ = 0; // handed to FFmpeg's muxer
    std::int64_t keptEnd_ = 0;    // in the file
    MovieContent content_;
};

} // namespace tavelo
