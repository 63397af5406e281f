// SPDX-License-Identifier: MIT
// Passes frames from the input's thread to the delegate on the output's queue.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/capture.h"

namespace tavelo {

/// Passes one sample at a time to the delegate and reports those that were dropped meanwhile.
///
/// Thread-safe.  Owned by a shared pointer, since a task on the output's queue may outlive the session.
class FrameDelivery final : public FrameSink, public std::enable_shared_from_this<FrameDelivery> {
public:
    /// Delivers samples along `connection` from now on.  If the output or its delegate is null, samples are
    /// lost.
    void open(const CaptureConnection& connection, CaptureVideoDataOutput* output);

    /// No delegate call begins after this returns; one in progress is not waited for.
    void close();

    /// Never blocks on the delegate.
    void consume(const SampleBuffer& sample) override;
    /// The output's.
    PictureDemand demand() const override;

private:
    // Drops during one delegate call beyond this number are not told.
    static constexpr std::size_t mostDropsTold = 64;

    struct Target {
        CaptureConnection connection;
        CaptureVideoDataOutput* output = nullptr;
        SampleBufferDelegate* delegate = nullptr;
        SerialQueue* queue = nullptr;
    };

    void run();
    void tellDrops(std::unique_lock<std::mutex>& lock);

    mutable std::mutex mutex_; // guards everything below
    std::optional<Target> target_;
    std::optional<SampleBuffer> waiting_;
    bool scheduled_ = false; // our task is queued or running
    bool handling_ = false;  // that task is calling the delegate
    std::array<MediaTime, mostDropsTold> drops_{};
    std::size_t dropCount_ = 0;
};

} // namespace tavelo
