// SPDX-License-Identifier: MIT
// Receivers of frames: one that records them, and one that runs out of memory.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#include "platform/capture.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Records the times of all frames, and the last frame.  Thread-safe.
class RecordedFrames final : public FrameSink {
public:
    void consume(const SampleBuffer& sample) override {
        std::unique_lock lock(mutex_);
        blocked_ = held_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return !held_; });
        last_ = sample;
        times_.push_back(sample.presentationTimeStamp.value);
        changed_.notify_all();
    }

    /// While held, consume() blocks.
    void hold(bool held) {
        const std::lock_guard lock(mutex_);
        held_ = held;
        changed_.notify_all();
    }

    /// False on timeout.
    [[nodiscard]] bool waitForFrames(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [&] { return times_.size() >= count; });
    }

    /// Waits until consume() blocks.  False on timeout.
    [[nodiscard]] bool waitForHeld() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [this] { return blocked_; });
    }

    std::size_t count() const {
        const std::lock_guard lock(mutex_);
        return times_.size();
    }
    std::vector<std::int64_t> times() const {
        const std::lock_guard lock(mutex_);
        return times_;
    }
    SampleBuffer last() const {
        const std::lock_guard lock(mutex_);
        return last_;
    }

private:
    mutable std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    SampleBuffer last_;
    std::vector<std::int64_t> times_;
    bool held_ = false;
    bool blocked_ = false; // the newest frame found the sink held
};

/// Throws as if memory had run out.
class ExhaustedSink final : public FrameSink {
public:
    void consume(const SampleBuffer& /*sample*/) override { throw std::bad_alloc(); }
};

} // namespace tavelo::testing
