// SPDX-License-Identifier: MIT
// Carries sound from PipeWire's realtime thread to another thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavelo {

/// A bounded queue of pieces of sound, in order.  One thread puts and one takes, at the same time; neither
/// waits, and putting needs no memory.
class SoundRing {
public:
    /// @param samples how many fit in
    /// @param pieces likewise
    SoundRing(std::size_t samples, std::size_t pieces);

    /// @param time of the first sample
    /// @return false if the piece does not fit; it is lost
    bool put(std::chrono::nanoseconds time, std::span<const std::int16_t> samples) noexcept;

    /// Appends the samples of the oldest piece.
    /// @return its time; nothing, and no samples, if there is none
    std::optional<std::chrono::nanoseconds> take(std::vector<std::int16_t>& samples);

private:
    struct Piece {
        std::chrono::nanoseconds time{};
        std::size_t count = 0;
    };

    std::vector<std::int16_t> samples_;
    std::vector<Piece> pieces_;
    // Counted from the beginning, not from the start of the memory.
    std::size_t putSamples_ = 0; // of the thread that puts
    std::atomic<std::size_t> put_ = 0;
    std::atomic<std::size_t> taken_ = 0;
    std::atomic<std::size_t> takenSamples_ = 0;
};

} // namespace tavelo
