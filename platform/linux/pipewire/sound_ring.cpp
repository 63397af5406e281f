// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/sound_ring.h"

#include <algorithm>
#include <cstring>

namespace tavelo {

SoundRing::SoundRing(std::size_t samples, std::size_t pieces) : samples_(samples), pieces_(pieces) {}

bool SoundRing::put(std::chrono::nanoseconds time, std::span<const std::int16_t> samples) noexcept {
    const std::size_t put = put_.load(std::memory_order_relaxed);
    if (put - taken_.load(std::memory_order_acquire) == pieces_.size()) return false;
    const std::size_t waiting = putSamples_ - takenSamples_.load(std::memory_order_acquire);
    if (samples.size() > samples_.size() - waiting) return false;
    const std::size_t at = putSamples_ % samples_.size();
    const std::size_t first = std::min(samples.size(), samples_.size() - at);
    std::memcpy(samples_.data() + at, samples.data(), first * sizeof(std::int16_t));
    std::memcpy(samples_.data(), samples.data() + first, (samples.size() - first) * sizeof(std::int16_t));
    putSamples_ += samples.size();
    pieces_[put % pieces_.size()] = {time, samples.size()};
    put_.store(put + 1, std::memory_order_release);
    return true;
}

std::optional<std::chrono::nanoseconds> SoundRing::take(std::vector<std::int16_t>& samples) {
    const std::size_t taken = taken_.load(std::memory_order_relaxed);
    if (taken == put_.load(std::memory_order_acquire)) return std::nullopt;
    const Piece piece = pieces_[taken % pieces_.size()];
    const std::size_t before = takenSamples_.load(std::memory_order_relaxed);
    const std::size_t at = before % samples_.size();
    const std::size_t first = std::min(piece.count, samples_.size() - at);
    const auto begin = samples_.begin() + std::ptrdiff_t(at);
    samples.insert(samples.end(), begin, begin + std::ptrdiff_t(first));
    samples.insert(samples.end(), samples_.begin(), samples_.begin() + std::ptrdiff_t(piece.count - first));
    takenSamples_.store(before + piece.count, std::memory_order_release);
    taken_.store(taken + 1, std::memory_order_release);
    return piece.time;
}

} // namespace tavelo
