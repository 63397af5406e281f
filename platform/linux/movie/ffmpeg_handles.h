// SPDX-License-Identifier: MIT
// Ownership of FFmpeg's objects.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <memory>

namespace tavelo {

struct FfmpegRelease {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
    void operator()(AVIOContext* io) const {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};

using AvCodecContext = std::unique_ptr<AVCodecContext, FfmpegRelease>;
using AvFrame = std::unique_ptr<AVFrame, FfmpegRelease>;
using AvPacket = std::unique_ptr<AVPacket, FfmpegRelease>;
using AvBuffer = std::unique_ptr<AVBufferRef, FfmpegRelease>;
using AvResampler = std::unique_ptr<SwrContext, FfmpegRelease>;
using AvAudioFifo = std::unique_ptr<AVAudioFifo, FfmpegRelease>;
/// A context with our own memory and callbacks.
using AvCustomIo = std::unique_ptr<AVIOContext, FfmpegRelease>;

struct AvInputRelease {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using AvInput = std::unique_ptr<AVFormatContext, AvInputRelease>;

struct AvOutputRelease {
    void operator()(AVFormatContext* context) const {
        // A custom context is owned by somebody else.
        if ((context->flags & AVFMT_FLAG_CUSTOM_IO) == 0) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};
using AvOutput = std::unique_ptr<AVFormatContext, AvOutputRelease>;

/// Options for a call that removes those that it knows.
class AvOptions {
public:
    AvOptions() = default;
    ~AvOptions() { av_dict_free(&options_); }
    AvOptions(const AvOptions&) = delete;
    AvOptions& operator=(const AvOptions&) = delete;

    void set(const char* name, const char* value) { av_dict_set(&options_, name, value, 0); }
    void set(const char* name, std::int64_t value) { av_dict_set_int(&options_, name, value, 0); }
    AVDictionary** get() { return &options_; }

private:
    AVDictionary* options_ = nullptr;
};

} // namespace tavelo
