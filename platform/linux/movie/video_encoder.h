// SPDX-License-Identifier: MIT
// Pictures to H.264.
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
    /// Decides the level alone: the frames carry their own times.
    double framesPerSecond = 30;
    /// For an encoder that takes over in the middle of a movie, whose header describes the one before: its
    /// parameter sets come with each key frame, under another number than those of the header.
    bool takesOver = false;
};

/// Takes a packet; what it keeps it must move out.  0, or a negative code that ends the encoding.
using PacketSink = std::function<int(AVPacket& packet)>;

/// One H.264 encoder in Main profile.  No frame waits for a later one, so times never turn back between input
/// and output, and little is lost when the program is killed.  Thread-bound to one thread at a time.
class VideoEncoder {
public:
    virtual ~VideoEncoder() = default;

    /// Open, with what a container's header needs.
    virtual const AVCodecContext& context() const = 0;
    /// As a person would name it.
    virtual std::string name() const = 0;
    /// @param frame NV12 of the size, its time in videoTimeBase; null at the end
    virtual int encode(const AVFrame* frame, const PacketSink& sink) = 0;
};

/// The graphics card's (VA-API); null with the reason.  Written against the interface, not yet seen on a
/// card.
std::unique_ptr<VideoEncoder> openHardwareEncoder(const VideoEncoderSettings& settings, Error& error);
/// x264; null with the reason.
std::unique_ptr<VideoEncoder> openSoftwareEncoder(const VideoEncoderSettings& settings, Error& error);

/// How the encoders of a movie are opened; a test puts its own in.
struct VideoEncoders {
    using Open = std::function<std::unique_ptr<VideoEncoder>(const VideoEncoderSettings&, Error&)>;

    Open hardware = openHardwareEncoder; ///< tried first; may fail, to open or at any frame
    Open software = openSoftwareEncoder; ///< must be able to take over
};

/// What both encoders are told alike.
AvCodecContext makeVideoContext(const AVCodec& codec, const VideoEncoderSettings& settings);
/// Sends one frame, or the end, and passes on what comes out.
int encodeFrame(AVCodecContext& context, const AVFrame* frame, AVPacket& packet, const PacketSink& sink);

} // namespace tavelo
