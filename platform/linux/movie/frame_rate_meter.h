// SPDX-License-Identifier: MIT
// Measures the frame rate of a movie.
#pragma once

#include <cstdint>

namespace tavelo {

/// Measures over half a second at a time, so that jitter of single frames does not count.
class FrameRateMeter {
public:
    /// @param time of a frame, in videoTimeBase, later than that of the one before
    void add(std::int64_t time);

    /// The fastest whole half second so far, in frames a second; 0 before the first is over.
    double fastest() const { return fastest_; }

    /// The same for a movie that has ended, which may be shorter than that; 0 with fewer than two frames.
    double fastestAtTheEnd() const;

private:
    double rate(std::int64_t until) const;

    bool started_ = false;
    std::int64_t begin_ = 0;
    std::int64_t last_ = 0;
    std::int64_t frames_ = 0; // since the start, without the first
    double fastest_ = 0;
};

} // namespace tavelo
