// SPDX-License-Identifier: MIT
// One opening of the pretend camera's node, as the camera sees it.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <span>

#include "bench/peers/camera/prepared_frames.h"
#include "bench/peers/camera/shared_buffers.h"
#include "bench/peers/link/camera_link.h"
#include "platform/common/file_descriptor.h"

namespace tavelo::bench {

using FrameClock = std::chrono::steady_clock;

/// Idle, with buffers, or streaming.  Thread-bound: the server's thread.
class CameraClient {
public:
    /// @param link of the requests; the greeting is sent at once
    /// @param modes must outlive the client
    CameraClient(FileDescriptor link, std::span<const PreparedFrames> modes);

    int link() const { return link_.get(); }
    bool hasBuffers() const { return buffers_.count() > 0; }
    bool isStreaming() const { return streaming_; }
    /// Of the next frame; only while streaming.
    FrameClock::time_point nextFrame() const { return nextFrame_; }

    /// Answers one request; false if the client is gone.
    /// @param isTaken another client has buffers
    bool serve(bool isTaken);

    /// Fills the oldest queued buffer.  Without one the frame is lost, as a camera's would be, and its
    /// sequence number is missing.
    void deliverFrame();

private:
    void answer(const Request& request, bool isTaken);
    std::int32_t allocate(const Request& request, bool isTaken);
    std::int32_t start();

    FileDescriptor link_;
    FileDescriptor frames_;
    std::span<const PreparedFrames> modes_;
    const PreparedFrames* mode_ = nullptr;
    SharedBuffers buffers_;
    std::deque<std::uint32_t> queued_;
    bool streaming_ = false;
    std::uint32_t sequence_ = 0;
    FrameClock::time_point nextFrame_;
};

} // namespace tavelo::bench
