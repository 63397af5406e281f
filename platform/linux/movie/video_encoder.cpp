// SPDX-License-Identifier: MIT
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {
namespace {

constexpr int finestFrameRate = 1000; // the largest denominator of a frame rate

} // namespace

AvCodecContext makeVideoContext(const AVCodec& codec, const VideoEncoderSettings& settings) {
    AvCodecContext context(avcodec_alloc_context3(&codec));
    if (!context) return nullptr;
    context->width = settings.width;
    context->height = settings.height;
    context->time_base = videoTimeBase;
    context->framerate = av_d2q(settings.framesPerSecond, finestFrameRate);
    context->sample_aspect_ratio = {1, 1};
    context->gop_size = settings.maxKeyFrameInterval;
    context->max_b_frames = 0;
    if (!settings.takesOver) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // As libyuv converts BGRA.
    context->colorspace = AVCOL_SPC_SMPTE170M;
    context->color_range = AVCOL_RANGE_MPEG;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->chroma_sample_location = AVCHROMA_LOC_CENTER;
    if (settings.bitRate) context->bit_rate = *settings.bitRate;
    return context;
}

int encodeFrame(AVCodecContext& context, const AVFrame* frame, AVPacket& packet, const PacketSink& sink) {
    if (const int sent = avcodec_send_frame(&context, frame); sent < 0) return sent;
    for (;;) {
        const int received = avcodec_receive_packet(&context, &packet);
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return 0;
        if (received < 0) return received;
        const int taken = sink(packet);
        av_packet_unref(&packet);
        if (taken < 0) return taken;
    }
}

} // namespace tavelo
