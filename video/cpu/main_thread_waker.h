// SPDX-License-Identifier: MIT
// Wakes the main thread without heap allocations.
#pragma once

#include <QSocketNotifier>
#include <atomic>
#include <functional>
#include <memory>

namespace tavelo {

/// A pipe that the event loop reads.  A posted event would cost two allocations each time.  Thread-bound to
/// the main thread, except wake().
class MainThreadWaker {
public:
    /// @param callback called on the main thread, once for all calls of wake() since its last call
    explicit MainThreadWaker(std::function<void()> callback);
    ~MainThreadWaker();

    MainThreadWaker(const MainThreadWaker&) = delete;
    MainThreadWaker& operator=(const MainThreadWaker&) = delete;

    /// Thread-safe.  Does nothing if the constructor could not open the pipe.
    void wake() noexcept;

private:
    void runCallback();

    std::function<void()> callback_;
    int readEnd_ = -1;
    int writeEnd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::atomic<bool> pending_ = false;
};

} // namespace tavelo
