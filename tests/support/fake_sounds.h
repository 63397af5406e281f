// SPDX-License-Identifier: MIT
// Microphones whose sound a test makes.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/sound_source.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Shared by a test and what it tests.  Thread-safe.
class FakeSounds final : public SoundPlatform, public std::enable_shared_from_this<FakeSounds> {
public:
    bool mayHaveMicrophones() const override { return available; }

    std::vector<Microphone> microphones(Error& reason) override {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, waitLimit, [this] { return !hangs_; });
        if (listError.code != ErrorCode::none) reason = listError;
        return listError.code == ErrorCode::none ? list : std::vector<Microphone>();
    }

    std::unique_ptr<SoundInput> open(const Microphone& microphone, Error& reason) override {
        const std::lock_guard lock(mutex_);
        opened_.push_back(microphone.name);
        reason = openError;
        if (openError.code != ErrorCode::none) return nullptr;
        return std::make_unique<Input>(shared_from_this());
    }

    /// Until then microphones() does not return.
    void hang(bool hangs) {
        const std::lock_guard lock(mutex_);
        hangs_ = hangs;
        changed_.notify_all();
    }
    std::vector<std::string> opened() const {
        const std::lock_guard lock(mutex_);
        return opened_;
    }
    bool isRunning() const {
        const std::lock_guard lock(mutex_);
        return sink_ != nullptr;
    }
    /// Waits for a running microphone.  @return false if none came
    bool awaitRunning() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [this] { return sink_ != nullptr; });
    }

    /// Delivers mono sound of one value.
    void feed(std::chrono::nanoseconds time, std::int16_t value = 0, std::size_t frames = 480) {
        auto sound = std::make_shared<AudioBuffer>();
        sound->sampleRate = 48000;
        sound->channels = 1;
        sound->samples.assign(frames, value);
        const std::lock_guard lock(mutex_);
        if (sink_ != nullptr) sink_->consume({nullptr, MediaTime::fromNanoseconds(time), std::move(sound)});
    }
    void lose(const std::string& reason) {
        const std::lock_guard lock(mutex_);
        if (sink_ != nullptr) sink_->didEnd({ErrorCode::gone, reason});
    }

    // Set before use.
    std::atomic<bool> available = true;
    std::vector<Microphone> list;
    Error listError;
    Error openError;

private:
    class Input final : public SoundInput {
    public:
        explicit Input(std::shared_ptr<FakeSounds> sounds) : sounds_(std::move(sounds)) {}
        ~Input() override { stop(); }
        AudioSettings settings() const override { return {48000, 1, {}}; }
        void start(SoundSink& sink) override { sounds_->setSink(&sink); }
        void stop() override { sounds_->setSink(nullptr); }

    private:
        const std::shared_ptr<FakeSounds> sounds_;
    };

    void setSink(SoundSink* sink) {
        const std::lock_guard lock(mutex_);
        sink_ = sink;
        changed_.notify_all();
    }

    mutable std::mutex mutex_; // guards the others
    std::condition_variable changed_;
    bool hangs_ = false;
    std::vector<std::string> opened_;
    SoundSink* sink_ = nullptr;
};

} // namespace tavelo::testing
