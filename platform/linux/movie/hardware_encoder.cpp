// SPDX-License-Identifier: MIT
// H.264 on the graphics card, through VA-API.
extern "C" {
#include <libavutil/hwcontext.h>
}

#include <utility>

#include "platform/linux/movie/ffmpeg_error.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {
namespace {

constexpr int picturesOnTheCard = 8;
constexpr int constantQuality = 23;

class HardwareEncoder final : public VideoEncoder {
public:
    HardwareEncoder(AvBuffer pictures, AvCodecContext context)
        : pictures_(std::move(pictures)),
          context_(std::move(context)),
          uploaded_(av_frame_alloc()),
          packet_(av_packet_alloc()) {}

    const AVCodecContext& context() const override { return *context_; }
    std::string name() const override { return "h264_vaapi"; }

    int encode(const AVFrame* frame, const PacketSink& sink) override {
        if (!uploaded_ || !packet_) return AVERROR(ENOMEM);
        if (frame == nullptr) return encodeFrame(*context_, nullptr, *packet_, sink);
        av_frame_unref(uploaded_.get());
        if (const int got = av_hwframe_get_buffer(pictures_.get(), uploaded_.get(), 0); got < 0) return got;
        if (const int sent = av_hwframe_transfer_data(uploaded_.get(), frame, 0); sent < 0) return sent;
        uploaded_->pts = frame->pts;
        return encodeFrame(*context_, uploaded_.get(), *packet_, sink);
    }

private:
    AvBuffer pictures_;
    AvCodecContext context_;
    AvFrame uploaded_;
    AvPacket packet_;
};

AvBuffer openDevice(Error& error) {
    AVBufferRef* device = nullptr;
    const int opened = av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0);
    if (opened < 0) error = ffmpegError(opened, "VA-API does not open");
    return AvBuffer(device);
}

AvBuffer makePictures(AVBufferRef& device, const VideoEncoderSettings& settings, Error& error) {
    AvBuffer pictures(av_hwframe_ctx_alloc(&device));
    if (!pictures) {
        error = ffmpegError(AVERROR(ENOMEM), "VA-API has no pictures");
        return nullptr;
    }
    auto* description = reinterpret_cast<AVHWFramesContext*>(pictures->data);
    description->format = AV_PIX_FMT_VAAPI;
    description->sw_format = AV_PIX_FMT_NV12;
    description->width = settings.width;
    description->height = settings.height;
    description->initial_pool_size = picturesOnTheCard;
    if (const int made = av_hwframe_ctx_init(pictures.get()); made < 0) {
        error = ffmpegError(made, "VA-API has no pictures of this size");
        return nullptr;
    }
    return pictures;
}

} // namespace

std::unique_ptr<VideoEncoder> openHardwareEncoder(const VideoEncoderSettings& settings, Error& error) {
    const AVCodec* codec = avcodec_find_encoder_by_name("h264_vaapi");
    if (codec == nullptr) {
        error = movieError(ErrorCode::invalid, "this build of FFmpeg knows no VA-API");
        return nullptr;
    }
    const AvBuffer device = openDevice(error);
    AvBuffer pictures = device ? makePictures(*device, settings, error) : nullptr;
    AvCodecContext context = pictures ? makeVideoContext(*codec, settings) : nullptr;
    if (!context) return nullptr;
    context->pix_fmt = AV_PIX_FMT_VAAPI;
    context->hw_frames_ctx = av_buffer_ref(pictures.get());
    if (!settings.bitRate) context->global_quality = constantQuality;
    AvOptions options;
    options.set("profile", "main");
    options.set("async_depth",
                std::int64_t(1)); // no frame waits inside: if one fails, only that one is lost
    if (const int opened = avcodec_open2(context.get(), codec, options.get()); opened < 0) {
        error = ffmpegError(opened, "VA-API does not encode H.264");
        return nullptr;
    }
    return std::make_unique<HardwareEncoder>(std::move(pictures), std::move(context));
}

} // namespace tavelo
