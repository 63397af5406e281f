// SPDX-License-Identifier: MIT
// Records the frames and diagnostics of a stream.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/capture.h"
#include "platform/diagnostics.h"

namespace tavelo::test {

/// Records reported lines.  Thread-safe.
class RememberedLines final : public Diagnostics {
public:
    void report(std::string_view device, std::string_view reason) noexcept override {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::string(device) + ": " + std::string(reason));
        changed_.notify_all();
    }

    bool waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return lines_.size() >= count; });
    }
    std::vector<std::string> lines() {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    std::mutex mutex_; // guards lines_
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

/// Records the times of all frames and the last picture.  Thread-safe.
class RememberedFrames final : public FrameSink {
public:
    void consume(const SampleBuffer& sample) override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !held_; });
        last_ = sample;
        times_.push_back(sample.presentationTimeStamp.value);
        changed_.notify_all();
    }

    bool waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return times_.size() >= count; });
    }
    /// While held, consume() blocks.
    void hold(bool held) {
        const std::lock_guard lock(mutex_);
        held_ = held;
        changed_.notify_all();
    }
    std::vector<std::int64_t> times() {
        const std::lock_guard lock(mutex_);
        return times_;
    }
    std::size_t count() { return times().size(); }
    SampleBuffer last() {
        const std::lock_guard lock(mutex_);
        return last_;
    }

private:
    std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    SampleBuffer last_;
    std::vector<std::int64_t> times_;
    bool held_ = false;
};

} // namespace tavelo::test
