// SPDX-License-Identifier: MIT
// A running stream: makes frames at the agreed rate and hands them out packet by packet.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_model.h"
#include "virtual-camera/payload_packetizer.h"

namespace tavelo {

/// Makes frames on its own thread, one ahead of the bus.
///
/// Frames are numbered by the time since the stream began.  If making or fetching them takes longer than the
/// frame interval, numbers are skipped: the stream gets slower, never late.
///
/// Thread-safe.
class UvcStream {
public:
    /// Makes one frame; called on the stream's thread.  An empty frame is skipped.
    using FrameSource = std::function<void(std::uint64_t number, std::vector<std::uint8_t>& frame)>;

    UvcStream(const StreamFormat& format, StreamTransport transport, FrameSource source);
    /// Waits for the frame in progress.
    ~UvcStream();

    UvcStream(const UvcStream&) = delete;
    UvcStream& operator=(const UvcStream&) = delete;

    /// Fills the next packet; returns its size, or nothing if no frame is ready.
    std::optional<std::size_t> packet(std::span<std::uint8_t> room);

private:
    using Clock = std::chrono::steady_clock;

    struct Frame {
        std::vector<std::uint8_t> bytes;
        std::uint32_t time = 0; ///< in ticks of the camera's clock
    };

    void run();

    const Clock::duration interval_;
    const FrameSource source_;
    const Clock::time_point start_ = Clock::now();

    std::mutex mutex_; // guards the members up to the blank line
    std::condition_variable wake_;
    PayloadPacketizer packetizer_;
    Frame sending_;
    Frame ready_;
    bool hasReady_ = false;
    bool stopping_ = false;

    Frame making_;       // used by the thread only
    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
