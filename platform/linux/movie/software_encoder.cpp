// SPDX-License-Identifier: MIT
// H.264 on the processor, with x264.
#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>

#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {
namespace {

constexpr int mostThreads = 4;
constexpr std::int64_t largestForBetterPreset = std::int64_t(1920) * 1088;
constexpr const char* constantQuality = "23";
// No look-ahead: each frame comes out as it goes in.  The threads share one frame, since sharing several
// would delay each of them.
constexpr const char* withoutDelay = "sliced-threads=1:rc-lookahead=0:sync-lookahead=0:mbtree=0";
// The header's parameter sets, which earlier frames need, have the number 0.
constexpr const char* ownParameterSets = ":sps-id=1";

class SoftwareEncoder final : public VideoEncoder {
public:
    SoftwareEncoder(AvCodecContext context, std::string name)
        : context_(std::move(context)),
          packet_(av_packet_alloc()),
          name_(std::move(name)) {}

    const AVCodecContext& context() const override { return *context_; }
    std::string name() const override { return name_; }
    int encode(const AVFrame* frame, const PacketSink& sink) override {
        if (!packet_) return AVERROR(ENOMEM);
        return encodeFrame(*context_, frame, *packet_, sink);
    }

private:
    AvCodecContext context_;
    AvPacket packet_;
    std::string name_;
};

} // namespace

std::unique_ptr<VideoEncoder> openSoftwareEncoder(const VideoEncoderSettings& settings, Error& error) {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    AvCodecContext context = codec != nullptr ? makeVideoContext(*codec, settings) : nullptr;
    if (!context) {
        error = movieError(ErrorCode::invalid, "this build of FFmpeg has no encoder for H.264");
        return nullptr;
    }
    // The best preset that two cores without a graphics card sustain beside the preview.
    const bool large = std::int64_t(settings.width) * settings.height > largestForBetterPreset;
    const char* preset = large ? "superfast" : "veryfast";
    context->pix_fmt = AV_PIX_FMT_NV12;
    context->thread_count = std::clamp(int(std::thread::hardware_concurrency()), 1, mostThreads);
    AvOptions options;
    options.set("preset", preset);
    options.set("profile", "main");
    const std::string parameters = std::string(withoutDelay) + (settings.takesOver ? ownParameterSets : "");
    options.set("x264-params", parameters.c_str());
    if (!settings.bitRate) options.set("crf", constantQuality);
    if (const int opened = avcodec_open2(context.get(), codec, options.get()); opened < 0) {
        error = ffmpegError(opened, "the encoder for H.264 does not open");
        return nullptr;
    }
    std::string name = std::string("libx264 (") + preset + ")";
    return std::make_unique<SoftwareEncoder>(std::move(context), std::move(name));
}

} // namespace tavelo
