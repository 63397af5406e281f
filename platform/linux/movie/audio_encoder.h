// SPDX-License-Identifier: MIT
// Encodes sound as AAC.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "platform/asset_writer.h"
#include "platform/linux/movie/sound_placement.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {

/// Takes sound of any rate and number of channels, and keeps it where it was captured (SoundPlacement): gaps
/// become silence, also the one before the first sound; sound that overlaps earlier sound or lies before 0 is
/// cut off.  Thread-bound to one thread at a time.
class AudioEncoder {
public:
    /// Null with the reason, for example a sample rate that AAC does not have.
    static std::unique_ptr<AudioEncoder> open(const AudioSettings& settings, Error& error);

    const AVCodecContext& context() const { return *context_; }

    /// @param start of the buffer, from the start of the movie
    /// @param sink gets packets in units of the sample rate; see encodeFrame()
    int encode(const AudioBuffer& sound, std::chrono::nanoseconds start, const PacketSink& sink);
    /// Silence from the end of the sound until then, if there was sound at all.
    int fillUntil(std::chrono::nanoseconds until, const PacketSink& sink);
    int finish(const PacketSink& sink);

private:
    explicit AudioEncoder(AvCodecContext context);
    bool allocate();
    int prepareFor(const AudioBuffer& sound);
    std::int64_t end() const;
    int encodeSilence(std::int64_t frames, const PacketSink& sink);
    int convert(const std::int16_t* samples, int frames);
    int encodeFullFrames(const PacketSink& sink);
    int encodeFromFifo(const PacketSink& sink);

    AvCodecContext context_;
    AvPacket packet_;
    AvFrame frame_;
    AvFrame converted_;
    AvAudioFifo fifo_;
    AvResampler resampler_;
    std::uint32_t inputRate_ = 0;
    std::uint32_t inputChannels_ = 0;
    SoundPlacement placement_;
    std::int64_t next_ = 0; // where the sound that left the resampler ends
    bool started_ = false;
};

} // namespace tavelo
