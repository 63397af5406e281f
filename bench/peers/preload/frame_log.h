// SPDX-License-Identifier: MIT
// When a program took each frame, and how much processor time it had used by then.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

namespace tavelo::bench {

struct TakenFrame {
    std::int64_t sequence = 0;
    std::int64_t complete = 0;      ///< CLOCK_MONOTONIC in nanoseconds, when the camera had finished it
    std::int64_t taken = 0;         ///< the same clock
    std::int64_t processorTime = 0; ///< of the process, in nanoseconds
};

/// A file that others read while it grows: the number of frames in 64 bits, then the frames.  It is memory,
/// so that an entry costs the program no system call but the one for its processor time.
class FrameLog {
public:
    static constexpr std::uint64_t mostFrames = 100'000;

    explicit FrameLog(std::string path) : path_(std::move(path)) {}

    /// Makes the file, once.  Without a path, or if that fails, nothing is kept.
    void start();
    void add(std::int64_t sequence, std::int64_t complete);

private:
    struct Content {
        std::atomic<std::uint64_t> count;
        TakenFrame frames[mostFrames];
    };
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

    const std::string path_;
    std::once_flag started_;
    Content* content_ = nullptr; // mapped as long as the process lives
};

} // namespace tavelo::bench
