// SPDX-License-Identifier: MIT
// Encodes sound as AAC.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "platform/asset_writer.h"
#include "platform/linux/movie/video_encoder.h"

namespace tavelo {

/// Takes sound of any rate and number of channels.  Keeps the samples' timing: a gap stays a gap, and sound
/// that overlaps earlier sound or lies before 0 is cut off.  Thread-bound to one thread at a time.
class AudioEncoder {
public:
    /// Null with the reason, for example a sample rate that AAC does not have.
    static std::unique_ptr<AudioEncoder> open(const AudioSettings& settings, Error& error);

    const AVCodecContext& context() const { return *context_; }

    /// @param start of the buffer, from the start of the movie
    /// @param sink gets packets in units of the sample rate; see encodeFrame()
    int encode(const AudioBuffer& sound, std::chrono::nanoseconds start, const PacketSink& sink);
    int finish(const PacketSink& sink);

private:
    AudioEncoder() = default;
    bool allocate();
    bool convertsFrom(const AudioBuffer& sound);
    int placeAt(std::int64_t start, const PacketSink& sink);
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
    std::int64_t next_ = 0; // where the sound taken so far ends
    bool started_ = false;
};

} // namespace tavelo
