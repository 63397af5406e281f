// SPDX-License-Identifier: MIT
#include "platform/linux/movie/audio_encoder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "platform/linux/movie/ffmpeg_error.h"

namespace tavelo {
namespace {

constexpr std::uint32_t defaultSampleRate = 48000;
constexpr std::uint32_t defaultChannels = 2;
constexpr std::int64_t defaultBitRatePerChannel = 64000;
// Of output; long, because the resampler adds whole samples over it: 2 ppm are one.
constexpr int compensationDistance = 1 << 19;
constexpr std::int64_t silentPiece = 4096; // frames

} // namespace

AudioEncoder::AudioEncoder(AvCodecContext context)
    : context_(std::move(context)),
      placement_(context_->sample_rate) {}

std::unique_ptr<AudioEncoder> AudioEncoder::open(const AudioSettings& settings, Error& error) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    AvCodecContext made(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    if (!made) {
        error = movieError(ErrorCode::invalid, "this build of FFmpeg has no encoder for AAC");
        return nullptr;
    }
    AVCodecContext& context = *made;
    const auto channels = int(settings.channels.value_or(defaultChannels));
    context.sample_rate = int(settings.sampleRate.value_or(defaultSampleRate));
    context.sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&context.ch_layout, channels);
    context.bit_rate = settings.bitRate.value_or(defaultBitRatePerChannel * channels);
    context.time_base = {1, context.sample_rate};
    context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (const int opened = avcodec_open2(&context, codec, nullptr); opened < 0) {
        error = ffmpegError(opened, "the encoder for AAC does not open");
        return nullptr;
    }
    std::unique_ptr<AudioEncoder> encoder(new AudioEncoder(std::move(made)));
    if (encoder->allocate()) return encoder;
    error = ffmpegError(AVERROR(ENOMEM), "the encoder for AAC does not open");
    return nullptr;
}

bool AudioEncoder::allocate() {
    packet_.reset(av_packet_alloc());
    frame_.reset(av_frame_alloc());
    converted_.reset(av_frame_alloc());
    fifo_.reset(
        av_audio_fifo_alloc(context_->sample_fmt, context_->ch_layout.nb_channels, context_->frame_size * 2));
    if (!packet_ || !frame_ || !converted_ || !fifo_) return false;
    frame_->format = context_->sample_fmt;
    frame_->sample_rate = context_->sample_rate;
    frame_->nb_samples = context_->frame_size;
    return av_channel_layout_copy(&frame_->ch_layout, &context_->ch_layout) == 0 &&
           av_frame_get_buffer(frame_.get(), 0) == 0;
}

int AudioEncoder::prepareFor(const AudioBuffer& sound) {
    if (resampler_ && sound.sampleRate == inputRate_ && sound.channels == inputChannels_) return 0;
    if (resampler_) {
        if (const int flushed = convert(nullptr, 0); flushed < 0) return flushed;
    }
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, int(sound.channels));
    SwrContext* resampler = nullptr;
    const int made =
        swr_alloc_set_opts2(&resampler, &context_->ch_layout, context_->sample_fmt, context_->sample_rate,
                            &layout, AV_SAMPLE_FMT_S16, int(sound.sampleRate), 0, nullptr);
    resampler_.reset(resampler);
    if (made < 0) return made;
    // Equal rates are resampled too, so that following the drift may begin at any time.
    av_opt_set_int(resampler, "flags", SWR_FLAG_RESAMPLE, 0);
    av_opt_set_int(resampler, "linear_interp", 1, 0);
    if (const int started = swr_init(resampler); started < 0) {
        resampler_.reset();
        return started;
    }
    inputRate_ = sound.sampleRate;
    inputChannels_ = sound.channels;
    return 0;
}

int AudioEncoder::encode(const AudioBuffer& sound, std::chrono::nanoseconds start, const PacketSink& sink) {
    constexpr auto longest = std::size_t(std::numeric_limits<int>::max() / 2);
    if (sound.sampleRate == 0 || sound.frameCount() == 0 || sound.frameCount() > longest) return 0;
    if (prepareFor(sound) < 0) return 0; // a kind of sound that cannot be converted
    const double rate = context_->sample_rate;
    const double ratio = rate / sound.sampleRate;
    const auto frames = std::int64_t(sound.frameCount());
    const auto step =
        placement_.place(std::chrono::duration<double>(start).count() * rate, double(frames) * ratio, end());
    if (const int silent = encodeSilence(step.silence, sink); silent < 0) return silent;
    const auto skipped = std::int64_t(std::ceil(double(step.skipped) / ratio));
    if (skipped >= frames) return 0;
    const int set = swr_set_compensation(
        resampler_.get(), int(std::lround(step.stretch * compensationDistance)), compensationDistance);
    if (set < 0) return set;
    if (const int taken =
            convert(sound.samples.data() + std::size_t(skipped) * sound.channels, int(frames - skipped));
        taken < 0)
        return taken;
    started_ = true;
    return encodeFullFrames(sink);
}

int AudioEncoder::fillUntil(std::chrono::nanoseconds until, const PacketSink& sink) {
    if (!started_) return 0;
    return encodeSilence(av_rescale(until.count(), context_->sample_rate, std::nano::den) - end(), sink);
}

std::int64_t AudioEncoder::end() const {
    return next_ + (resampler_ ? swr_get_delay(resampler_.get(), context_->sample_rate) : 0);
}

int AudioEncoder::encodeSilence(std::int64_t frames, const PacketSink& sink) {
    if (frames <= 0) return 0;
    // Through the resampler, which still holds the end of the sound before.
    std::int64_t left = av_rescale(frames, inputRate_, context_->sample_rate);
    const std::vector<std::int16_t> silence(std::size_t(std::min(left, silentPiece)) * inputChannels_);
    if (const int set = swr_set_compensation(resampler_.get(), 0, compensationDistance); set < 0) return set;
    while (left > 0) {
        const std::int64_t piece = std::min(left, silentPiece);
        left -= piece;
        if (const int taken = convert(silence.data(), int(piece)); taken < 0) return taken;
        if (const int encoded = encodeFullFrames(sink); encoded < 0) return encoded;
    }
    return 0;
}

// Without samples: what the resampler still holds.
int AudioEncoder::convert(const std::int16_t* samples, int frames) {
    const int room = swr_get_out_samples(resampler_.get(), frames);
    if (room < 0) return room;
    if (converted_->nb_samples < room) {
        av_frame_unref(converted_.get());
        converted_->format = context_->sample_fmt;
        converted_->nb_samples = room;
        if (const int copied = av_channel_layout_copy(&converted_->ch_layout, &context_->ch_layout);
            copied < 0)
            return copied;
        if (const int got = av_frame_get_buffer(converted_.get(), 0); got < 0) return got;
    }
    const auto* input = reinterpret_cast<const std::uint8_t*>(samples);
    const int count = swr_convert(resampler_.get(), converted_->extended_data, room,
                                  samples != nullptr ? &input : nullptr, frames);
    if (count <= 0) return count;
    void** planes = reinterpret_cast<void**>(converted_->extended_data);
    if (const int written = av_audio_fifo_write(fifo_.get(), planes, count); written < count)
        return AVERROR(ENOMEM);
    next_ += count;
    return 0;
}

int AudioEncoder::encodeFullFrames(const PacketSink& sink) {
    while (av_audio_fifo_size(fifo_.get()) >= context_->frame_size) {
        if (const int encoded = encodeFromFifo(sink); encoded < 0) return encoded;
    }
    return 0;
}

int AudioEncoder::encodeFromFifo(const PacketSink& sink) {
    const int waiting = av_audio_fifo_size(fifo_.get());
    if (const int writable = av_frame_make_writable(frame_.get()); writable < 0) return writable;
    frame_->pts = next_ - waiting;
    const int count = av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame_->extended_data),
                                         context_->frame_size);
    if (count < 0) return count;
    av_samples_set_silence(frame_->extended_data, count, context_->frame_size - count,
                           context_->ch_layout.nb_channels, context_->sample_fmt);
    return encodeFrame(*context_, frame_.get(), *packet_, sink);
}

int AudioEncoder::finish(const PacketSink& sink) {
    if (!started_) return 0;
    if (const int flushed = convert(nullptr, 0); flushed < 0) return flushed;
    if (const int encoded = encodeFullFrames(sink); encoded < 0) return encoded;
    if (av_audio_fifo_size(fifo_.get()) > 0) {
        if (const int encoded = encodeFromFifo(sink); encoded < 0) return encoded;
    }
    return encodeFrame(*context_, nullptr, *packet_, sink);
}

} // namespace tavelo
