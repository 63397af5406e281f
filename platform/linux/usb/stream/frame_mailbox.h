// SPDX-License-Identifier: MIT
// Passes whole frames from the bus to the thread that converts them.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/error.h"

namespace tavelo {

/// Three buffers: one is written, one waits, one is read.  A new frame replaces one that still waits, so a
/// slow reader gets fewer frames, never older ones, and delays no transfer.
///
/// One thread writes at a time and one reads; stop() may be called on any.
class FrameMailbox {
public:
    using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC

    struct Frame {
        std::vector<std::uint8_t> bytes; ///< as long as the longest frame
        std::size_t size = 0;
        Clock::time_point time; ///< of the frame's first payload
    };

    /// Empties it for a stream whose frames have at most `capacity` bytes.  Nobody may write or read
    /// meanwhile.
    void open(std::size_t capacity);

    // The writer's side.

    Frame& writing() { return frames_[writing_]; }
    /// The written frame is whole.  writing() is then another one, of size 0.
    void publish();
    /// The written frame is dropped and its buffer reused.
    void countDamaged();
    /// No more frames will come, for this reason.
    void end(ErrorCode reason);

    // The reader's side.

    enum class Event : std::uint8_t { frame, ended, silence, stopped };
    /// Waits for a frame, the end of the stream, the stop, or the deadline.
    Event wait(Clock::time_point deadline);
    /// The frame that wait() announced; valid until the next wait().
    const Frame& reading() const { return frames_[reading_]; }
    ErrorCode endReason() const;
    /// Frames dropped since open() or the last whole one.
    std::size_t damaged() const;

    // Stopping, which lasts until clearStop().

    void stop();
    void clearStop();
    bool isStopped() const;
    /// @return whether it was stopped in time
    bool waitForStop(std::chrono::milliseconds time) const;

private:
    std::array<Frame, 3> frames_;
    std::size_t writing_ = 0; // the writer's own
    std::size_t reading_ = 2; // the reader's own

    mutable std::mutex mutex_; // guards what follows
    mutable std::condition_variable changed_;
    std::size_t waiting_ = 1;
    bool hasFrame_ = false;
    bool ended_ = false;
    bool stopped_ = false;
    ErrorCode endReason_ = ErrorCode::none;
    std::size_t damaged_ = 0;
};

} // namespace tavelo
