// SPDX-License-Identifier: MIT
// Finds out how many frames a second a camera sends.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/media_time.h"

namespace tavelo {

/// Frames per second, as a fraction.
struct FrameRate {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 1;

    friend bool operator==(const FrameRate&, const FrameRate&) = default;
};

/// Takes the middle one of some intervals between frames, so that a late frame does not count, and the common
/// rate near it.
class CameraRate {
public:
    /// @param time of a frame; one that is not later than that before is ignored
    void add(const MediaTime& time);

    /// Nothing before enough frames have come; does not change afterwards.
    std::optional<FrameRate> rate() const;

private:
    static constexpr std::size_t needed = 5;

    std::optional<double> last_; // seconds
    std::array<double, needed> intervals_{};
    std::size_t count_ = 0;
};

} // namespace tavelo
