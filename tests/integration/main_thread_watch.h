// SPDX-License-Identifier: MIT
// How long the main thread lets things wait, and which requests it sends to a camera itself.
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

#include "virtual-camera/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Sends the main thread one task after another, and measures from outside how long each waits to be run.
class MainThreadWatch {
public:
    MainThreadWatch() : thread_([this] { run(); }) {}
    ~MainThreadWatch() { end(); }

    MainThreadWatch(const MainThreadWatch&) = delete;
    MainThreadWatch& operator=(const MainThreadWatch&) = delete;

    /// Ends the measurement.  What still waits counts with the time that it has waited.
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
        constexpr std::chrono::milliseconds pause(1); // leaves the main thread time of its own
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
    Clock::duration longest_{};                                   // the thread's until it has ended
    std::thread thread_;
};

/// Counts the requests to a camera that the thread sends on which the counter was made.
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
