// SPDX-License-Identifier: MIT
// An input fed by the test, and a delegate that records its calls.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/capture.h"

namespace tavelo {

class FakeInput final : public CaptureDeviceInput {
public:
    std::shared_ptr<CaptureDevice> device() const override { return nullptr; }

    void start(FrameSink& sink) override {
        const std::lock_guard lock(mutex_);
        sink_ = &sink;
        ++starts;
    }
    void stop() override {
        const std::lock_guard lock(mutex_);
        sink_ = nullptr;
        ++stops;
    }

    /// False if the input is stopped.
    bool feed(std::int64_t time, std::shared_ptr<PixelBuffer> picture = nullptr) {
        const std::lock_guard lock(mutex_);
        if (sink_ == nullptr) return false;
        sink_->consume({std::move(picture), MediaTime::fromNanoseconds(std::chrono::nanoseconds(time))});
        return true;
    }

    /// What the session wants of the next frame; the default if the input is stopped.
    PictureDemand demand() {
        const std::lock_guard lock(mutex_);
        return sink_ != nullptr ? sink_->demand() : PictureDemand();
    }

    std::atomic<int> starts = 0;
    std::atomic<int> stops = 0;

private:
    std::mutex mutex_; // guards sink_, and keeps stop() waiting for a call of the sink
    FrameSink* sink_ = nullptr;
};

class FakeDelegate final : public SampleBufferDelegate {
public:
    void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                          const SampleBuffer& sample,
                                                          const CaptureConnection& connection) override {
        std::function<void()> during;
        {
            const std::lock_guard lock(mutex_);
            outputs.push_back(sample.presentationTimeStamp.value);
            lastOutput = &output;
            lastConnection = connection;
            during = whileHandling;
        }
        if (during) during();
    }

    void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                        const SampleBuffer& sample,
                                                        const CaptureConnection& /*connection*/) override {
        const std::lock_guard lock(mutex_);
        drops.push_back(sample.presentationTimeStamp.value);
        droppedPicture = droppedPicture || sample.imageBuffer != nullptr;
    }

    /// Called within each delivery; set before frames come.
    std::function<void()> whileHandling;

    // Read on the queue, or after a sync with it.
    std::vector<std::int64_t> outputs;
    std::vector<std::int64_t> drops;
    bool droppedPicture = false;
    CaptureVideoDataOutput* lastOutput = nullptr;
    CaptureConnection lastConnection;

private:
    std::mutex mutex_; // guards the records above
};

/// One thread waits until another one calls open().
class Gate {
public:
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        wake_.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_; // guards open_
    std::condition_variable wake_;
    bool open_ = false;
};

} // namespace tavelo
