// SPDX-License-Identifier: MIT
#include "platform/linux/movie/audio_encoder.h"

#include <algorithm>
#include <limits>

#include "platform/linux/movie/ffmpeg_error.h"

namespace tavelo {
namespace {

constexpr std::uint32_t defaultSampleRate = 48000;
constexpr std::uint32_t defaultChannels = 2;
constexpr std::int64_t defaultBitRatePerChannel = 64000;
// The clocks of sound cards and of frames differ a little; a gap shorter than this is ignored.
constexpr std::int64_t toleranceInMilliseconds = 50;

} // namespace

std::unique_ptr<AudioEncoder> AudioEncoder::open(const AudioSettings& settings, Error& error) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    std::unique_ptr<AudioEncoder> encoder(new AudioEncoder());
    encoder->context_.reset(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    if (!encoder->context_) {
        error = movieError(ErrorCode::invalid, "this build of FFmpeg has no encoder for AAC");
        return nullptr;
    }
    AVCodecContext& context = *encoder->context_;
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

bool AudioEncoder::convertsFrom(const AudioBuffer& sound) {
    if (resampler_ && sound.sampleRate == inputRate_ && sound.channels == inputChannels_) return true;
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, int(sound.channels));
    SwrContext* resampler = nullptr;
    const int made =
        swr_alloc_set_opts2(&resampler, &context_->ch_layout, context_->sample_fmt, context_->sample_rate,
                            &layout, AV_SAMPLE_FMT_S16, int(sound.sampleRate), 0, nullptr);
    resampler_.reset(resampler);
    if (made < 0 || swr_init(resampler) < 0) {
        resampler_.reset();
        return false;
    }
    inputRate_ = sound.sampleRate;
    inputChannels_ = sound.channels;
    return true;
}

int AudioEncoder::encode(const AudioBuffer& sound, std::chrono::nanoseconds start, const PacketSink& sink) {
    constexpr auto longest = std::size_t(std::numeric_limits<int>::max() / 2);
    if (sound.sampleRate == 0 || sound.frameCount() == 0 || sound.frameCount() > longest) return 0;
    if (!convertsFrom(sound)) return 0;
    const std::int64_t rate = context_->sample_rate;
    std::int64_t place = av_rescale(start.count(), rate, std::nano::den);
    const std::int64_t earliest = started_ ? next_ - rate * toleranceInMilliseconds / 1000 : 0;
    std::int64_t skipped = 0;
    if (place < earliest) {
        const std::int64_t from = started_ ? next_ : 0;
        skipped = av_rescale_rnd(from - place, sound.sampleRate, rate, AV_ROUND_UP);
        place = from;
    }
    if (skipped >= std::int64_t(sound.frameCount())) return 0;
    if (const int placed = placeAt(place, sink); placed < 0) return placed;
    const std::int16_t* samples = sound.samples.data() + std::size_t(skipped) * sound.channels;
    if (const int taken = convert(samples, int(std::int64_t(sound.frameCount()) - skipped)); taken < 0)
        return taken;
    return encodeFullFrames(sink);
}

int AudioEncoder::placeAt(std::int64_t start, const PacketSink& sink) {
    if (!started_) {
        started_ = true;
        next_ = start;
        return 0;
    }
    const std::int64_t tolerance = std::int64_t(context_->sample_rate) * toleranceInMilliseconds / 1000;
    // There are no gaps inside a frame: the rest of a started frame becomes silence.
    if (start <= next_ + std::max<std::int64_t>(tolerance, context_->frame_size)) return 0;
    if (av_audio_fifo_size(fifo_.get()) > 0) {
        if (const int encoded = encodeFromFifo(sink); encoded < 0) return encoded;
    }
    next_ = start;
    return 0;
}

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
    const int count = swr_convert(resampler_.get(), converted_->extended_data, room, &input, frames);
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
    if (av_audio_fifo_size(fifo_.get()) > 0) {
        if (const int encoded = encodeFromFifo(sink); encoded < 0) return encoded;
    }
    return encodeFrame(*context_, nullptr, *packet_, sink);
}

} // namespace tavelo
