// SPDX-License-Identifier: MIT
#include "platform/common/stream_retry_policy.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

TEST(StreamRetryPolicy, EndsSilentlyWhenStopped) {
    StreamRetryPolicy policy({});
    EXPECT_FALSE(policy.after(StreamEnd::stopped).wait);
    EXPECT_FALSE(policy.after(StreamEnd::stopped).report);
}

TEST(StreamRetryPolicy, ACameraThatIsGoneButListedIsTriedAgainAndALineOnceItStaysSo) {
    StreamRetryPolicy policy({});
    for (const bool report : {false, false, true, false, false})
        EXPECT_EQ(policy.after(StreamEnd::gone).report, report);
    EXPECT_EQ(policy.after(StreamEnd::gone).wait, 8s);
    policy.frameCame();
    EXPECT_EQ(policy.after(StreamEnd::gone).wait, 250ms);
    EXPECT_FALSE(policy.after(StreamEnd::gone).report);
    EXPECT_TRUE(policy.after(StreamEnd::gone).report);
}

TEST(StreamRetryPolicy, AsksABusyCameraEverySecondAndSaysSoOnce) {
    StreamRetryPolicy policy({});
    EXPECT_TRUE(policy.after(StreamEnd::busy).report);
    for (int i = 0; i < 100; ++i) {
        const auto decision = policy.after(StreamEnd::busy);
        EXPECT_EQ(decision.wait, 1s);
        EXPECT_FALSE(decision.report);
    }
}

TEST(StreamRetryPolicy, BacksOffFromAStreamThatKeepsFailing) {
    StreamRetryPolicy policy({});
    for (const auto expected : {250ms, 500ms, 1000ms, 2000ms, 4000ms, 8000ms, 8000ms})
        EXPECT_EQ(policy.after(StreamEnd::silent).wait, expected);
}

TEST(StreamRetryPolicy, AFrameResetsAllCounters) {
    StreamRetryPolicy policy({});
    policy.after(StreamEnd::failed);
    policy.after(StreamEnd::failed);
    policy.frameCame();
    const auto decision = policy.after(StreamEnd::failed);
    EXPECT_EQ(decision.wait, 250ms);
    EXPECT_TRUE(decision.report);
}

TEST(StreamRetryPolicy, GivesASlowCameraMoreTimeUntilItsFirstFrame) {
    StreamRetryPolicy policy({});
    for (const auto expected : {5s, 10s, 20s, 20s}) {
        EXPECT_EQ(policy.firstFrame(), expected);
        policy.after(StreamEnd::silent);
    }
    policy.frameCame();
    EXPECT_EQ(policy.firstFrame(), 5s);
}

TEST(StreamRetryPolicy, ReportsEachNewKindOfFailure) {
    StreamRetryPolicy policy({});
    EXPECT_TRUE(policy.after(StreamEnd::failed).report);
    EXPECT_TRUE(policy.after(StreamEnd::busFull).report);
    EXPECT_FALSE(policy.after(StreamEnd::busFull).report);
}

TEST(StreamRetryPolicy, WaitsFiveSecondsForRights) {
    StreamRetryPolicy policy({});
    std::chrono::milliseconds waited{0};
    for (;;) {
        const auto decision = policy.after(StreamEnd::denied);
        if (!decision.wait) {
            EXPECT_TRUE(decision.report);
            break;
        }
        EXPECT_FALSE(decision.report);
        waited += *decision.wait;
        ASSERT_LE(waited, 5s);
    }
    EXPECT_EQ(waited, 5s);
}

TEST(StreamRetryPolicy, AnErrorAndTheEndThatItCausesMeanTheSame) {
    for (const ErrorCode code : {ErrorCode::gone, ErrorCode::busy, ErrorCode::denied, ErrorCode::invalid})
        EXPECT_EQ(errorCodeOf(streamEndOf(code)), code);
    EXPECT_EQ(streamEndOf(ErrorCode::refused), StreamEnd::failed);
    EXPECT_EQ(streamEndOf(ErrorCode::timeout), StreamEnd::failed);
}

TEST(StreamRetryPolicy, KnowsTheErrnosOfTheKernel) {
    EXPECT_EQ(streamEndOf(ENODEV), StreamEnd::gone);
    EXPECT_EQ(streamEndOf(ENOENT), StreamEnd::gone);
    EXPECT_EQ(streamEndOf(EBUSY), StreamEnd::busy);
    EXPECT_EQ(streamEndOf(EACCES), StreamEnd::denied);
    EXPECT_EQ(streamEndOf(ENOSPC), StreamEnd::busFull);
    EXPECT_EQ(streamEndOf(EIO), StreamEnd::failed);
}

} // namespace
} // namespace tavelo
