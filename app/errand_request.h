// SPDX-License-Identifier: MIT
// What the program is to do with a camera instead of showing its window.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tavelo {

struct ErrandRequest {
    enum class Kind : std::uint8_t { snapshot, record };

    Kind kind = Kind::snapshot;
    std::string file;
    /// Of the movie; absent: until the program is told to end.
    std::optional<std::chrono::duration<double>> duration;
    /// A camera's number, from 1, or its identifier; empty: the first one.
    std::string camera;
    bool mirror = false;
};

} // namespace tavelo
