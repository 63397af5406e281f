// SPDX-License-Identifier: MIT
// A library that a program gets by LD_PRELOAD: its monotonic clock runs 30 times as fast, so that a test sees
// in seconds what the program does after minutes.  It covers what event loops use: the time, poll() and
// ppoll().
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <optional>

namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr int speed = 30;

nanoseconds fromTimespec(const timespec& time) {
    return seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

timespec toTimespec(nanoseconds time) {
    return {static_cast<std::time_t>(time / seconds(1)), static_cast<long>((time % seconds(1)).count())};
}

nanoseconds realMonotonicTime() {
    timespec now{};
    ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return fromTimespec(now);
}

int realPoll(pollfd* files, nfds_t count, std::optional<nanoseconds> patience, const sigset_t* signals) {
    timespec limit = toTimespec(patience.value_or(nanoseconds()) / speed);
    constexpr std::size_t signalBytes = 8; // of the kernel's set, unlike sizeof(sigset_t)
    return static_cast<int>(
        ::syscall(SYS_ppoll, files, count, patience ? &limit : nullptr, signals, signalBytes));
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock != CLOCK_MONOTONIC && clock != CLOCK_MONOTONIC_COARSE)
        return static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    static const nanoseconds start = realMonotonicTime();
    *time = toTimespec(start + (realMonotonicTime() - start) * speed);
    return 0;
}

[[gnu::visibility("default")]] int poll(pollfd* files, nfds_t count, int milliseconds) {
    if (milliseconds < 0) return realPoll(files, count, {}, nullptr);
    return realPoll(files, count, std::chrono::milliseconds(milliseconds), nullptr);
}

[[gnu::visibility("default")]] int ppoll(pollfd* files, nfds_t count, const timespec* patience,
                                         const sigset_t* signals) {
    return realPoll(files, count, patience ? std::optional(fromTimespec(*patience)) : std::nullopt, signals);
}
}
