// SPDX-License-Identifier: MIT
// A fake capture platform; the test delivers the frames of its cameras.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/capture.h"

namespace tavelo::testing {

class FakeDevice;

class FakeInput final : public CaptureDeviceInput {
public:
    explicit FakeInput(std::shared_ptr<CaptureDevice> device) : device_(std::move(device)) {}

    std::shared_ptr<CaptureDevice> device() const override { return device_; }
    void start(FrameSink&) override {}
    void stop() override {}

private:
    std::shared_ptr<CaptureDevice> device_;
};

class FakeDevice final : public CaptureDevice, public std::enable_shared_from_this<FakeDevice> {
public:
    explicit FakeDevice(std::string uniqueID) : uniqueID_(std::move(uniqueID)) {}

    const std::string& uniqueID() const override { return uniqueID_; }
    const std::string& localizedName() const override { return uniqueID_; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        if (refuses) {
            error = {ErrorCode::busy, "another program uses the camera"};
            return nullptr;
        }
        return std::make_unique<FakeInput>(shared_from_this());
    }

    bool refuses = false;

private:
    std::string uniqueID_;
};

/// Like a real session: delivers frames on the output's queue while it runs, and no delivery starts after
/// a stop.
class FakeSession final : public CaptureSession {
public:
    bool canAddOutput(const CaptureVideoDataOutput&) const override { return acceptsOutput; }
    void addOutput(CaptureVideoDataOutput& output) override { output_ = &output; }

    bool canAddInput(const CaptureDeviceInput&) const override {
        const std::lock_guard lock(mutex_);
        return acceptsInput && input_ == nullptr;
    }
    void addInput(CaptureDeviceInput& input) override {
        const std::lock_guard lock(mutex_);
        input_ = &input;
        log_.push_back("add " + input.device()->uniqueID());
    }
    void removeInput(CaptureDeviceInput& input) override {
        const std::lock_guard lock(mutex_);
        if (input_ != &input) return;
        input_ = nullptr;
        running_ = false;
        log_.push_back("remove " + input.device()->uniqueID());
    }

    void startRunning() override {
        const std::lock_guard lock(mutex_);
        if (input_ == nullptr || running_) return;
        running_ = true;
        log_.push_back("start");
        ++starts;
    }
    void stopRunning() override {
        const std::lock_guard lock(mutex_);
        if (!running_) return;
        running_ = false;
        log_.push_back("stop");
    }
    bool isRunning() const override {
        const std::lock_guard lock(mutex_);
        return running_;
    }

    /// Thread-safe.  Drops the frame if the session stops before the delegate is called.
    void deliver(std::shared_ptr<PixelBuffer> picture, MediaTime time) {
        output_->sampleBufferCallbackQueue()->async([this, picture = std::move(picture), time] {
            {
                const std::lock_guard lock(mutex_);
                if (!running_) return;
            }
            output_->sampleBufferDelegate()->captureOutputDidOutputSampleBufferFromConnection(
                *output_, {picture, time}, {nullptr, output_});
        });
    }

    std::vector<std::string> takeLog() {
        const std::lock_guard lock(mutex_);
        return std::exchange(log_, {});
    }
    CaptureDeviceInput* input() const {
        const std::lock_guard lock(mutex_);
        return input_;
    }
    CaptureVideoDataOutput* output() const { return output_; }

    bool acceptsOutput = true;
    std::atomic<bool> acceptsInput = true;
    std::atomic<int> starts = 0;

private:
    CaptureVideoDataOutput* output_ = nullptr;
    mutable std::mutex mutex_; // guards everything below
    CaptureDeviceInput* input_ = nullptr;
    bool running_ = false;
    std::vector<std::string> log_;
};

/// Creates one session, which the test can access while the view exists.
class FakeCapturePlatform final : public CapturePlatform {
public:
    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType) override { return {}; }
    std::unique_ptr<CaptureSession> makeSession() override {
        auto made = std::make_unique<FakeSession>();
        made->acceptsOutput = acceptsOutput;
        session = made.get();
        return made;
    }
    std::shared_ptr<ThreadPriority> threadPriority() override { return priority; }
    void addObserver(CaptureDeviceObserver*) override {}
    void removeObserver(CaptureDeviceObserver*) override {}

    bool acceptsOutput = true;
    std::shared_ptr<ThreadPriority> priority;
    FakeSession* session = nullptr;
};

} // namespace tavelo::testing
