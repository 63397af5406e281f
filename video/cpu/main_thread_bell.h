// SPDX-License-Identifier: MIT
// Wakes the main thread without heap allocations.
#pragma once

#include <QSocketNotifier>
#include <atomic>
#include <functional>
#include <memory>

namespace tavelo {

/// A pipe that the event loop reads.  A posted event would cost two allocations each time.  Thread-bound to
/// the main thread, except ring().
class MainThreadBell {
public:
    /// @param answer called on the main thread, once for all calls of ring() since its last call
    explicit MainThreadBell(std::function<void()> answer);
    ~MainThreadBell();

    MainThreadBell(const MainThreadBell&) = delete;
    MainThreadBell& operator=(const MainThreadBell&) = delete;

    /// Thread-safe.  Does nothing if the constructor could not open the pipe.
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
