// SPDX-License-Identifier: MIT
// The place where whole frames pass from the bus to whoever converts them.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/linux/usb/stream/usb_stream_port.h"

namespace tavelo {

/// Three buffers: one is written, one waits, one is read.  A frame that finds one waiting replaces it, so a
/// slow reader gets fewer frames, never older ones, and holds up no transfer.
///
/// One thread writes at a time and one reads; stop() may come from any.
class FrameMailbox {
public:
    using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC

    struct Frame {
        std::vector<std::uint8_t> bytes; ///< as long as any frame may be
        std::size_t size = 0;
        Clock::time_point time; ///< of the frame's first payload
    };

    /// Empties it for a stream whose frames have at most `capacity` bytes.  No one writes or reads meanwhile.
    void open(std::size_t capacity);

    // The writer's side.

    Frame& writing() { return frames_[writing_]; }
    /// The frame written is whole; another one is to be written then, its size 0.
    void publish();
    /// The frame written was dropped, and its buffer is written anew.
    void countDamaged();
    /// No frame will come any more, for that reason.
    void end(UsbPortStatus reason);

    // The reader's side.

    enum class Event : std::uint8_t { frame, ended, silence, stopped };
    /// Waits for a frame, the end of the stream, the stop, or the deadline.
    Event wait(Clock::time_point deadline);
    /// The frame that wait() told of; until the next wait().
    const Frame& reading() const { return frames_[reading_]; }
    UsbPortStatus endReason() const;
    /// Frames dropped since open() or the last whole one.
    std::size_t damaged() const;

    // The stop, which stays until it is taken back.

    void stop();
    void clearStop();
    bool isStopped() const;
    /// @return whether it was stopped before the time was over
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
    UsbPortStatus endReason_ = UsbPortStatus::ok;
    std::size_t damaged_ = 0;
};

} // namespace tavelo
