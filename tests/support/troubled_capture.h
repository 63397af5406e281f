// SPDX-License-Identifier: MIT
// Cameras that do not stream, for a reason that a test chooses.
#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/capture.h"

namespace tavelo::testing {

/// What keeps the cameras from streaming.  Thread-safe.
class CaptureTrouble {
public:
    /// Of an opened camera; without a code its pictures come.
    void setTrouble(Error trouble) { set(trouble_, std::move(trouble)); }
    Error trouble() const { return get(trouble_); }
    /// Of opening one.
    void setRefusal(Error refusal) { set(refusal_, std::move(refusal)); }
    Error refusal() const { return get(refusal_); }
    void setHolders(DeviceHolders holders) { set(holders_, std::move(holders)); }
    DeviceHolders holders() const { return get(holders_); }

private:
    template <typename Value>
    void set(Value& member, Value value) {
        const std::lock_guard lock(mutex_);
        member = std::move(value);
    }
    template <typename Value>
    Value get(const Value& member) const {
        const std::lock_guard lock(mutex_);
        return member;
    }

    mutable std::mutex mutex_; // guards the others
    Error trouble_;
    Error refusal_;
    DeviceHolders holders_;
};

/// Drops the camera's pictures while there is trouble.
class TroubledInput final : public CaptureDeviceInput, private FrameSink {
public:
    TroubledInput(std::unique_ptr<CaptureDeviceInput> input, std::shared_ptr<CaptureTrouble> trouble)
        : input_(std::move(input)),
          trouble_(std::move(trouble)) {}

    ~TroubledInput() override { input_->stop(); }

    std::shared_ptr<CaptureDevice> device() const override { return input_->device(); }
    void start(FrameSink& sink) override {
        sink_ = &sink;
        input_->start(*this);
    }
    void stop() override { input_->stop(); }
    Error trouble() const override { return trouble_->trouble(); }

private:
    void consume(const SampleBuffer& sample) override {
        if (trouble_->trouble().code == ErrorCode::none) sink_->consume(sample);
    }

    const std::unique_ptr<CaptureDeviceInput> input_;
    const std::shared_ptr<CaptureTrouble> trouble_;
    FrameSink* sink_ = nullptr;
};

class TroubledCamera final : public CaptureDevice {
public:
    TroubledCamera(std::shared_ptr<CaptureDevice> camera, std::shared_ptr<CaptureTrouble> trouble)
        : camera_(std::move(camera)),
          trouble_(std::move(trouble)) {}

    const std::string& uniqueID() const override { return camera_->uniqueID(); }
    const std::string& localizedName() const override { return camera_->localizedName(); }
    bool hasMediaType(MediaType type) const override { return camera_->hasMediaType(type); }
    std::string node() const override { return "/dev/video0"; }
    DeviceHolders holders() const override { return trouble_->holders(); }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        error = trouble_->refusal();
        if (error.code != ErrorCode::none) return nullptr;
        auto input = camera_->makeInput(error);
        return input ? std::make_unique<TroubledInput>(std::move(input), trouble_) : nullptr;
    }

private:
    const std::shared_ptr<CaptureDevice> camera_;
    const std::shared_ptr<CaptureTrouble> trouble_;
};

/// The cameras of another platform that were plugged in when the first list was asked for.
class TroubledCapture final : public CapturePlatform {
public:
    TroubledCapture(CapturePlatform& platform, std::shared_ptr<CaptureTrouble> trouble)
        : platform_(platform),
          trouble_(std::move(trouble)) {}

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override {
        if (cameras_.empty())
            for (const auto& camera : platform_.devicesWithMediaType(type))
                cameras_.push_back(std::make_shared<TroubledCamera>(camera, trouble_));
        return cameras_;
    }
    std::unique_ptr<CaptureSession> makeSession() override { return platform_.makeSession(); }
    void addObserver(CaptureDeviceObserver* /*observer*/) override {}
    void removeObserver(CaptureDeviceObserver* /*observer*/) override {}

private:
    CapturePlatform& platform_;
    const std::shared_ptr<CaptureTrouble> trouble_;
    std::vector<std::shared_ptr<CaptureDevice>> cameras_;
};

} // namespace tavelo::testing
