// SPDX-License-Identifier: MIT
#include "process/qt_clock.h"

#include <time.h> // NOLINT(modernize-deprecated-headers): clock_gettime

#include <QTimer>
#include <memory>
#include <utility>

namespace tavelo {
namespace {

std::chrono::nanoseconds read(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time); // fails for unknown clocks only
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

Clock::TimePoint QtClock::now() const {
    return std::chrono::steady_clock::now();
}

// The boot clock goes on while the machine sleeps, the monotonic one does not.
std::chrono::nanoseconds QtClock::slept() const {
    return read(CLOCK_BOOTTIME) - read(CLOCK_MONOTONIC);
}

void QtClock::callAfter(std::chrono::milliseconds time, Task task) {
    // Qt copies what it calls, and a task cannot be copied.
    const auto shared = std::make_shared<Task>(std::move(task));
    QTimer::singleShot(time, this, [shared] { (*shared)(); });
}

} // namespace tavelo
