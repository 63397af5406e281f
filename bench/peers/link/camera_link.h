// SPDX-License-Identifier: MIT
// What the pretend camera and the library inside a program say to each other.
//
// For each opening of the node there are two sockets that keep messages apart (SOCK_SEQPACKET).  On the
// first, which the library connects, a request gets one answer, except queue.  The second comes with the
// greeting: the camera sends a FrameReady on it for each frame.  The program holds it in place of a driver's
// file, so poll, select and epoll on it mean what they mean for a camera, and O_NONBLOCK does too.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "bench/peers/link/camera_mode.h"

namespace tavelo::bench {

inline constexpr std::size_t mostModes = 16;
inline constexpr std::uint32_t mostBuffers = 32;
/// Of the buffers' memory, as /proc/PID/smaps shows it.
inline constexpr const char* bufferMemoryName = "pretend-camera-buffers";

struct Greeting {
    std::uint32_t modeCount = 0;
    std::array<CameraMode, mostModes> modes{};
};

enum class RequestKind : std::uint32_t {
    allocate, ///< `count` buffers for `mode`, none to give them back
    lend,     ///< the memory of buffer `index` comes with the answer
    queue,    ///< `index` may be filled
    start,
    stop, ///< once answered, no FrameReady follows
};

struct Request {
    RequestKind kind = RequestKind::start;
    std::uint32_t mode = 0;
    std::uint32_t count = 0;
    std::uint32_t index = 0;
};

struct Answer {
    std::int32_t error = 0; ///< an errno, or 0
    std::uint32_t bufferBytes = 0;
};

struct FrameReady {
    std::uint32_t index = 0;
    std::uint32_t bytes = 0;
    std::uint32_t sequence = 0;
    std::int64_t time = 0; ///< CLOCK_MONOTONIC in nanoseconds, when the frame was complete
};

} // namespace tavelo::bench
