// SPDX-License-Identifier: MIT
// The last leg of a frame: from the input's thread to the delegate on the output's queue.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/capture.h"

namespace tavelo {

/// Carries one sample at a time to the delegate and keeps account of those that came too early.
///
/// Thread-safe.  Owned by a shared pointer, since a task on the output's queue may outlive the session.
class FrameDelivery final : public FrameSink, public std::enable_shared_from_this<FrameDelivery> {
public:
    /// From now on samples go along `connection`; its output and delegate may be null, which loses the
    /// samples.
    void open(const CaptureConnection& connection, CaptureVideoDataOutput* output);

    /// No delegate call begins after this returned; the one under way is not waited for.
    void close();

    /// Never blocks on the delegate.
    void consume(const SampleBuffer& sample) override;

private:
    // More than this many drops behind one delegate call are forgotten, the oldest first.
    static constexpr std::size_t rememberedDrops = 64;

    struct Target {
        CaptureConnection connection;
        CaptureVideoDataOutput* output = nullptr;
        SampleBufferDelegate* delegate = nullptr;
        SerialQueue* queue = nullptr;
    };

    void run();
    void tellDrops(std::unique_lock<std::mutex>& lock);

    std::mutex mutex_; // guards everything below
    std::optional<Target> target_;
    std::optional<SampleBuffer> waiting_;
    bool scheduled_ = false; // a task of ours is on the queue or runs
    bool handling_ = false;  // that task is past the delegate's door
    std::array<MediaTime, rememberedDrops> drops_{};
    std::size_t firstDrop_ = 0;
    std::size_t dropCount_ = 0;
};

} // namespace tavelo
