// SPDX-License-Identifier: MIT
#include "process/qt_clock.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QTest>
#include <ctime>
#include <memory>

namespace {

std::chrono::seconds addedToSleep{};

} // namespace

// Takes the place of the C library's, for this machine does not sleep while it tests.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_BOOTTIME) time->tv_sec += addedToSleep.count();
    return result;
}

namespace tavelo {
namespace {

using namespace std::chrono_literals;

TEST(QtClock, CallsLaterInTheOrderOfTheTimes) {
    QtClock clock;
    std::string order;
    const auto begun = clock.now();
    Clock::TimePoint called{};
    clock.callAfter(30ms, [&] {
        order += "b";
        called = clock.now();
    });
    clock.callAfter(0ms, [&] { order += "a"; });
    EXPECT_EQ(order, "");
    ASSERT_TRUE(QTest::qWaitFor([&] { return order.size() == 2; }, 20'000));
    EXPECT_EQ(order, "ab");
    EXPECT_GE(called - begun, 30ms);
}

TEST(QtClock, TakesTasksThatCannotBeCopied) {
    QtClock clock;
    int result = 0;
    clock.callAfter(1ms, [&result, number = std::make_unique<int>(7)] { result = *number; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return result == 7; }, 20'000));
}

TEST(QtClock, DropsTheCallsThatWaitWhenItEnds) {
    const auto alive = std::make_shared<bool>(true);
    std::weak_ptr<bool> held = alive;
    int calls = 0;
    {
        QtClock clock;
        clock.callAfter(1ms, [&calls, alive] { ++calls; });
    }
    bool done = false;
    QtClock other;
    other.callAfter(5ms, [&] { done = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return done; }, 20'000));
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(alive.use_count(), 1);
}

TEST(QtClock, AMachineThatIsAwakeSleepsNoLonger) {
    const QtClock clock;
    const auto before = clock.slept();
    EXPECT_GE(before, -1ms);
    EXPECT_LT(clock.slept() - before, 1s);
}

TEST(QtClock, AMachineThatSleptSaysHowLong) {
    const QtClock clock;
    const auto before = clock.slept();
    addedToSleep = 1h;
    const auto slept = clock.slept() - before;
    addedToSleep = {};
    EXPECT_GE(slept, 1h - 1ms);
    EXPECT_LT(slept, 1h + 1s);
}

} // namespace
} // namespace tavelo
