// SPDX-License-Identifier: MIT
#include "platform/linux/movie/sound_placement.h"

#include <algorithm>
#include <cmath>

namespace tavelo {
namespace {

// A loop of the second order, critically damped: a drift of 200 ppm moves the sound by 3 ms at most, and a
// jitter of 10 ms changes its speed by less than 0.1 %.
constexpr double smoothing = 1.0; // seconds
constexpr double speed = 0.03;    // a second
constexpr double proportional = 2 * speed;
constexpr double integral = speed * speed;

} // namespace

SoundPlacement::Step SoundPlacement::place(double start, double length, std::int64_t end) {
    const double error = (start - double(end)) / rate_;
    Step step;
    if (!started_ || std::abs(error) > tolerance) {
        const auto frames = std::llround(std::abs(start - double(end)));
        (error > 0 ? step.silence : step.skipped) = frames;
        error_ = 0; // the drift stays what it was
        if (double(step.skipped) >= length) return step;
        started_ = true;
    } else {
        follow(error, length / rate_);
    }
    step.stretch = std::clamp(proportional * error_ + drift_, -mostStretch, mostStretch);
    return step;
}

void SoundPlacement::follow(double error, double seconds) {
    error_ += (error - error_) * seconds / (smoothing + seconds);
    drift_ = std::clamp(drift_ + integral * error_ * seconds, -mostStretch, mostStretch);
}

} // namespace tavelo
