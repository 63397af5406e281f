// SPDX-License-Identifier: MIT
// Notices that the machine has slept.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/clock.h"

namespace tavelo {

/// Compares, every five seconds, how long the machine has slept.  Main thread.
class ResumeWatch {
public:
    static constexpr std::chrono::seconds interval{5};
    /// The two clocks behind Clock::slept() are not read at the same moment.
    static constexpr std::chrono::seconds shortestSleep{1};

    /// @param clock   must outlive this
    /// @param resumed called on the main thread, not after this is destroyed
    ResumeWatch(Clock& clock, std::function<void()> resumed);

    ResumeWatch(const ResumeWatch&) = delete;
    ResumeWatch& operator=(const ResumeWatch&) = delete;

private:
    void look();
    void wait();

    Clock& clock_;
    const std::function<void()> resumed_;
    std::chrono::nanoseconds slept_;
    const std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true); // for late calls
};

} // namespace tavelo
