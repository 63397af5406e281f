// SPDX-License-Identifier: MIT
// A movie as it is recorded: in fragments, each of which plays as soon as it is written.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/asset_writer.h"
#include "platform/linux/movie/ffmpeg_handles.h"
#include "platform/linux/movie/movie_file.h"

namespace tavelo {

/// The name by which FFmpeg knows a file type.
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

/// Cuts a fragment twice a second of movie.  Thread-bound to one thread at a time.
class FragmentMuxer {
public:
    /// Writes the header, which names the tracks; either encoder may be null.
    /// @param file must outlive the muxer
    static std::unique_ptr<FragmentMuxer> open(MovieFile& file, MovieFileType type,
                                               const AVCodecContext* video, const AVCodecContext* audio,
                                               Error& error);

    /// Takes over what the packet holds.  A frame is written when the next one tells how long it lasts.
    int writeVideo(AVPacket& packet);
    int writeAudio(AVPacket& packet);

    /// The last frame lasts as long as the one before.
    int finish();

    /// What is in the movie once it is finished.
    const MovieContent& content() const { return content_; }

    /// The end of what is in the file and plays, in videoTimeBase.
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
    bool endPiece();

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
