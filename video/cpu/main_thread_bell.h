// SPDX-License-Identifier: MIT
// Wakes the main thread without touching the heap.
#pragma once

#include <QSocketNotifier>
#include <atomic>
#include <functional>
#include <memory>

namespace tavelo {

/// A pipe that the event loop listens to.  A posted event would do, at the price of two allocations each
/// time. Thread-bound to the main thread but for ring().
class MainThreadBell {
public:
    /// @param answer called on the main thread, once for all rings since the last answer
    explicit MainThreadBell(std::function<void()> answer);
    ~MainThreadBell();

    MainThreadBell(const MainThreadBell&) = delete;
    MainThreadBell& operator=(const MainThreadBell&) = delete;

    /// Thread-safe.  Silent where the process ran out of file descriptors when the bell was made.
    void ring() noexcept;

private:
    void answerRing();

    std::function<void()> answer_;
    int readEnd_ = -1;
    int writeEnd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::atomic<bool> rung_ = false;
};

} // namespace tavelo
