// SPDX-License-Identifier: MIT
#include "watch/resume_watch.h"

#include <gtest/gtest.h>

#include "support/manual_clock.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

class ResumeWatchTest : public ::testing::Test {
protected:
    testing::ManualClock clock;
    int resumed = 0;
    std::unique_ptr<ResumeWatch> watch = std::make_unique<ResumeWatch>(clock, [this] { ++resumed; });
};

TEST_F(ResumeWatchTest, AWakingMachineIsNoNews) {
    clock.pass(1h);
    EXPECT_EQ(resumed, 0);
}

TEST_F(ResumeWatchTest, EachSleepIsToldOnceWithinFiveSeconds) {
    clock.sleep(8h);
    clock.pass(4999ms);
    EXPECT_EQ(resumed, 0);
    clock.pass(1ms);
    EXPECT_EQ(resumed, 1);
    clock.pass(1min);
    EXPECT_EQ(resumed, 1);
    clock.sleep(1s);
    clock.pass(5s);
    EXPECT_EQ(resumed, 2);
}

TEST_F(ResumeWatchTest, SleepsBeforeTheStartDoNotCount) {
    testing::ManualClock other;
    other.sleep(8h);
    const ResumeWatch late(other, [this] { ++resumed; });
    other.pass(10s);
    EXPECT_EQ(resumed, 0);
}

TEST_F(ResumeWatchTest, ClocksThatDriftApartAreNoSleep) {
    for (int i = 0; i < 10; ++i) {
        clock.sleep(999ms);
        clock.pass(5s);
    }
    EXPECT_EQ(resumed, 0);
}

TEST_F(ResumeWatchTest, SaysNothingAfterItsEnd) {
    clock.sleep(8h);
    watch.reset();
    clock.pass(1h);
    EXPECT_EQ(resumed, 0);
    EXPECT_EQ(clock.waiting(), 0U);
}

} // namespace
} // namespace tavelo
