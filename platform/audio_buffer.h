// SPDX-License-Identifier: MIT
// Sound in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavelo {

/// Interleaved PCM, signed 16-bit samples.
struct AudioBuffer {
    std::uint32_t sampleRate = 0; ///< frames per second
    std::uint32_t channels = 0;
    std::vector<std::int16_t> samples; ///< frameCount() * channels

    std::size_t frameCount() const { return channels == 0 ? 0 : samples.size() / channels; }
};

} // namespace tavelo
