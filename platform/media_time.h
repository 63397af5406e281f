// SPDX-License-Identifier: MIT
// Times of the media clock.
#pragma once

#include <chrono>
#include <cstdint>

namespace tavelo {

/// A rational time: value / timescale seconds.  Camera frames carry nanoseconds of the monotonic clock.
struct MediaTime {
    static constexpr std::uint32_t flagValid = 1;

    std::int64_t value = 0;
    std::int32_t timescale = 0;
    std::uint32_t flags = 0;
    std::int64_t epoch = 0;

    static constexpr MediaTime fromNanoseconds(std::chrono::nanoseconds time) {
        return {time.count(), 1'000'000'000, flagValid, 0};
    }

    constexpr bool isValid() const { return (flags & flagValid) != 0; }

    friend constexpr bool operator==(const MediaTime&, const MediaTime&) = default;
};

} // namespace tavelo
