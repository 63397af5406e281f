// SPDX-License-Identifier: MIT
// H.264 encoders.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/error.h"
#include "platform/linux/movie/ffmpeg_handles.h"

namespace tavelo {

/// The time scale of pictures: fine enough for every camera, and a multiple of 600.
inline constexpr AVRational videoTimeBase{1, 90000};

struct VideoEncoderSettings {
    int width = 0;  ///< even
    int height = 0; ///< even
    int maxKeyFrameInterval = 60;
    std::optional<std::int64_t> bitRate; ///< absent: constant quality
    /// Only decides the level: the frames carry their own times.
    double framesPerSecond = 30;
    /// For an encoder that takes over in the middle of a movie, whose header describes the previous one:
    /// its parameter sets come with each key frame, under another number than those in the header.
    bool takesOver = false;
};

/// Takes a packet; must move out what it keeps.  Returns 0, or a negative code that ends the encoding.
using PacketSink = std::function<int(AVPacket& packet)>;

/// An H.264 encoder in Main profile.  Frames are not reordered, so timestamps never go backwards, and
/// little is lost if the program is killed.  Thread-bound to one thread at a time.
class VideoEncoder {
public:
    virtual ~VideoEncoder() = default;

    /// Open, and complete for a container's header.
    virtual const AVCodecContext& context() const = 0;
    /// For people.
    virtual std::string name() const = 0;
    /// @param frame NV12 of the configured size, its time in videoTimeBase; null at the end
    virtual int encode(const AVFrame* frame, const PacketSink& sink) = 0;
};

/// The graphics card's (VA-API); null with the reason.  Written against the API, not yet tested on a card.
std::unique_ptr<VideoEncoder> openHardwareEncoder(const VideoEncoderSettings& settings, Error& error);
/// x264; null with the reason.
std::unique_ptr<VideoEncoder> openSoftwareEncoder(const VideoEncoderSettings& settings, Error& error);

/// How the encoders of a movie are opened; tests use their own.
struct VideoEncoders {
    using Open = std::function<std::unique_ptr<VideoEncoder>(const VideoEncoderSettings&, Error&)>;

    Open hardware = openHardwareEncoder; ///< tried first; opening or any frame may fail
    Open software = openSoftwareEncoder; ///< must be able to take over
};

/// The settings that both encoders share.
AvCodecContext makeVideoContext(const AVCodec& codec, const VideoEncoderSettings& settings);
/// Sends one frame, or the end, and passes the resulting packets on.
int encodeFrame(AVCodecContext& context, const AVFrame* frame, AVPacket& packet, const PacketSink& sink);

} // namespace tavelo
