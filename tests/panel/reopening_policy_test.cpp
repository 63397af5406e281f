// SPDX-License-Identifier: MIT
#include "panel/reopening_policy.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto quiet = ReopeningPolicy::quietTime;

class ReopeningPolicyTest : public ::testing::Test {
protected:
    bool mayOpen(ErrorCode failure = ErrorCode::timeout) { return policy.mayOpen(failure, failedAt, now); }

    ReopeningPolicy policy;
    ReopeningPolicy::Time failedAt = ReopeningPolicy::Time() + 1h;
    ReopeningPolicy::Time now = failedAt;
};

TEST_F(ReopeningPolicyTest, AfterARefusalOpensAtOnceAndEachTime) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(mayOpen(ErrorCode::refused));
        policy.actionEnded(now, true);
    }
}

TEST_F(ReopeningPolicyTest, AfterAnyOtherFailureOpensOnceTheQuietTimeHasPassed) {
    for (const ErrorCode failure :
         {ErrorCode::timeout, ErrorCode::gone, ErrorCode::denied, ErrorCode::failed, ErrorCode::closed}) {
        policy = {};
        now = failedAt + quiet - 1ms;
        EXPECT_FALSE(mayOpen(failure));
        now = failedAt + quiet;
        EXPECT_TRUE(mayOpen(failure));
    }
}

TEST_F(ReopeningPolicyTest, QuietTimeStartsWhenTheLastActionEnds) {
    now = failedAt + quiet / 2;
    policy.actionEnded(now, false);
    now = failedAt + quiet;
    EXPECT_FALSE(mayOpen());
    policy.actionEnded(now, false);
    now += quiet;
    EXPECT_TRUE(mayOpen());
}

TEST_F(ReopeningPolicyTest, QuietTimeAlsoStartsWithAFailureInTheBackground) {
    policy.actionEnded(now, false);
    failedAt = now + 5s;
    now = failedAt + quiet - 1ms;
    EXPECT_FALSE(mayOpen());
    now += 1ms;
    EXPECT_TRUE(mayOpen());
}

TEST_F(ReopeningPolicyTest, RepeatedKeysNeverOpen) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(mayOpen());
        policy.actionEnded(now, false);
        now += quiet - 1ms;
    }
}

TEST_F(ReopeningPolicyTest, ADragWithPausesOpensOnlyOnce) {
    policy.actionEnded(now, true);
    now += quiet;
    EXPECT_TRUE(mayOpen());
    policy.actionEnded(now, true);
    for (int i = 0; i < 3; ++i) {
        now += quiet;
        EXPECT_FALSE(mayOpen());
        policy.actionEnded(now, true);
    }
    policy.actionEnded(now, false); // the release
    now += quiet;
    EXPECT_TRUE(mayOpen());
}

TEST_F(ReopeningPolicyTest, ADragThatEndedWithoutAReleaseIsForgotten) {
    now += quiet;
    EXPECT_TRUE(mayOpen());
    policy.actionEnded(now, true);
    policy.dragEnded();
    now += quiet;
    EXPECT_TRUE(mayOpen());
}

} // namespace
} // namespace tavelo
