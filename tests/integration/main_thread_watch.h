// SPDX-License-Identifier: MIT
// Measures how long tasks wait for the main thread, and counts the camera requests that a thread sends.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <QCoreApplication>
#include <QMetaObject>

#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Posts tasks to the main thread one after another and measures how long each one waits.
class MainThreadWatch {
public:
    MainThreadWatch() : thread_([this] { run(); }) {}
    ~MainThreadWatch() { end(); }

    MainThreadWatch(const MainThreadWatch&) = delete;
    MainThreadWatch& operator=(const MainThreadWatch&) = delete;

    /// Ends the measurement.  A task that is still waiting counts with its waiting time so far.
    std::chrono::milliseconds longestWait() {
        end();
        return std::chrono::duration_cast<std::chrono::milliseconds>(longest_);
    }

private:
    using Clock = std::chrono::steady_clock;

    struct Shared {
        std::mutex mutex; // guards the rest
        std::condition_variable changed;
        bool answered = false;
        bool ended = false;
    };

    void run() {
        constexpr std::chrono::milliseconds pause(1); // leaves the main thread time for other work
        std::unique_lock lock(shared_->mutex);
        while (!shared_->ended) {
            shared_->answered = false;
            const auto asked = Clock::now();
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [shared = shared_] {
                    const std::lock_guard answer(shared->mutex);
                    shared->answered = true;
                    shared->changed.notify_all();
                },
                Qt::QueuedConnection);
            shared_->changed.wait(lock, [this] { return shared_->answered || shared_->ended; });
            longest_ = std::max(longest_, Clock::now() - asked);
            shared_->changed.wait_for(lock, pause, [this] { return shared_->ended; });
        }
    }

    void end() {
        {
            const std::lock_guard lock(shared_->mutex);
            shared_->ended = true;
        }
        shared_->changed.notify_all();
        if (thread_.joinable()) thread_.join();
    }

    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>(); // a task may outlive the watch
    Clock::duration longest_{};                                   // owned by the thread until it ends
    std::thread thread_;
};

/// Counts the camera requests sent by the thread that created this object.
class OwnRequests final : public FirmwareObserver {
public:
    explicit OwnRequests(std::shared_ptr<VirtualCameraFirmware> camera) : camera_(std::move(camera)) {
        camera_->addObserver(this);
    }
    ~OwnRequests() override { camera_->removeObserver(this); }

    OwnRequests(const OwnRequests&) = delete;
    OwnRequests& operator=(const OwnRequests&) = delete;

    std::size_t count() const { return count_; }

    void requestAnswered(const RequestRecord& /*record*/) override {
        if (std::this_thread::get_id() == thread_) ++count_;
    }
    void vanished() override {}

private:
    const std::shared_ptr<VirtualCameraFirmware> camera_;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::atomic<std::size_t> count_ = 0;
};

} // namespace tavelo
