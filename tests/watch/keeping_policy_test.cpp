// SPDX-License-Identifier: MIT
#include "watch/keeping_policy.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using Answer = KeepingPolicy::Answer;

class KeepingPolicyTest : public ::testing::Test {
protected:
    KeepingPolicy::TimePoint now{1h};
    KeepingPolicy policy;
};

TEST_F(KeepingPolicyTest, LooksOnceTheCameraWasLeftAloneForASecond) {
    policy.disturbed(now);
    EXPECT_EQ(policy.due(), now + 1s);
    now += 900ms;
    policy.disturbed(now);
    EXPECT_EQ(policy.due(), now + 1s);
}

TEST_F(KeepingPolicyTest, PutsBackSixTimesAMinuteAndThenStaysAwayForAMinute) {
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(policy.differs(now), Answer::putBack) << i;
        now += 2s;
    }
    EXPECT_EQ(policy.differs(now), Answer::stayAway);
    EXPECT_EQ(policy.due(), now + 1min);
    policy.disturbed(now + 10s);
    EXPECT_EQ(policy.due(), now + 1min) << "what happens meanwhile does not matter";
    policy.disturbed(now + 59500ms);
    EXPECT_EQ(policy.due(), now + 60500ms) << "nor is it looked at during a change";
    EXPECT_EQ(policy.differs(now + 1min), Answer::putBack);
}

TEST_F(KeepingPolicyTest, RareChangesArePutBackForEver) {
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(policy.differs(now), Answer::putBack) << i;
        now += 10s; // six in each minute
    }
}

TEST_F(KeepingPolicyTest, SevenWithinAMinuteAreTooMany) {
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(policy.differs(now + i * 9s), Answer::putBack);
    EXPECT_EQ(policy.differs(now + 59999ms), Answer::stayAway);
}

} // namespace
} // namespace tavelo
