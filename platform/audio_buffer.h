// SPDX-License-Identifier: MIT
// A piece of sound in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavelo {

/// Interleaved PCM: one signed 16-bit sample a channel, channel after channel, frame after frame.
struct AudioBuffer {
    std::uint32_t sampleRate = 0; ///< frames a second
    std::uint32_t channels = 0;
    std::vector<std::int16_t> samples; ///< frameCount() * channels

    std::size_t frameCount() const { return channels == 0 ? 0 : samples.size() / channels; }
};

} // namespace tavelo
