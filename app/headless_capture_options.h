// SPDX-License-Identifier: MIT
// The still or movie to take instead of showing the window.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/common/microphone_choice.h"

namespace tavelo {

struct HeadlessCaptureOptions {
    enum class Kind : std::uint8_t { snapshot, record };

    Kind kind = Kind::snapshot;
    std::string file;
    /// Of the movie; absent: record until the program is asked to end.
    std::optional<std::chrono::duration<double>> duration;
    /// A camera's number, from 1, or its identifier; empty: the first one.
    std::string camera;
    bool mirror = false;
    /// Of the movie.
    SoundChoice sound;
    /// For the next picture; long enough for a slow, emulated machine.
    std::chrono::milliseconds patience{20'000};
};

} // namespace tavelo
