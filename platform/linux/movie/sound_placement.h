// SPDX-License-Identifier: MIT
// Keeps sound where it belongs on a movie's time line.
#pragma once

#include <cstdint>

namespace tavelo {

/// Sound comes in pieces, each with the time when it was captured.  A microphone's clock is a little faster
/// or slower than that of the times, and the times jitter.  This follows the drift by making the sound longer
/// or shorter by a share that nobody hears, and never suddenly; what is off by more than `tolerance` is put
/// right at once, with silence or by leaving out sound.
///
/// All positions are in frames of the movie's sound, from the start of the movie.
class SoundPlacement {
public:
    /// In seconds: less than the piece that PipeWire usually loses if it is late.
    static constexpr double tolerance = 0.02;
    /// The largest share that is added or taken.
    static constexpr double mostStretch = 0.002;

    struct Step {
        std::int64_t silence = 0; ///< frames to insert before the piece
        std::int64_t skipped = 0; ///< frames to leave out at the beginning of the piece; possibly all
        double stretch = 0;       ///< the share that the rest gets longer by
    };

    /// @param rate frames a second
    explicit SoundPlacement(double rate) : rate_(rate) {}

    /// @param start where the piece belongs; may be negative
    /// @param length of the piece, a few seconds at most
    /// @param end where the sound that was taken so far ends
    Step place(double start, double length, std::int64_t end);

private:
    void follow(double error, double seconds);

    const double rate_;
    bool started_ = false;
    // In seconds, and in seconds a second.
    double error_ = 0; // by how much the sound is too early, smoothed
    double drift_ = 0; // what the microphone's clock lacks
};

} // namespace tavelo
