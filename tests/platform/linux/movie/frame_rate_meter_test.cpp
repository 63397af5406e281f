// SPDX-License-Identifier: MIT
#include "platform/linux/movie/frame_rate_meter.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

constexpr std::int64_t second = 90'000; // in videoTimeBase

/// Adds frames at this rate, the first one at `from`; returns when the next one would come.
std::int64_t add(FrameRateMeter& meter, std::int64_t from, int frames, int rate) {
    for (int i = 0; i < frames; ++i)
        meter.add(from + i * second / rate);
    return from + frames * second / rate;
}

TEST(FrameRateMeter, KnowsNothingBeforeHalfASecondIsOver) {
    FrameRateMeter meter;
    EXPECT_EQ(meter.fastest(), 0);
    add(meter, 5 * second, 15, 30);
    EXPECT_EQ(meter.fastest(), 0);
    meter.add(5 * second + second / 2);
    EXPECT_EQ(meter.fastest(), 30);
}

TEST(FrameRateMeter, EachHalfSecondCountsByItself) {
    FrameRateMeter meter;
    const std::int64_t slow = add(meter, 0, 30, 15);
    EXPECT_EQ(meter.fastest(), 15);
    const std::int64_t fast = add(meter, slow, 61, 60);
    EXPECT_NEAR(meter.fastest(), 60, 6);
    const double before = meter.fastest();
    add(meter, fast, 30, 15);
    EXPECT_EQ(meter.fastest(), before) << "what is slower later changes nothing";
}

TEST(FrameRateMeter, OneFrameThatIsEarlyDoesNotCount) {
    FrameRateMeter meter;
    const std::int64_t next = add(meter, 0, 5, 20);
    meter.add(next - second / 25); // a hundredth of a second after the one before
    add(meter, next + second / 20, 30, 20);
    EXPECT_NEAR(meter.fastest(), 20, 0.5);
}

TEST(FrameRateMeter, AMovieThatIsShorterIsMeasuredAtItsEnd) {
    FrameRateMeter meter;
    EXPECT_EQ(meter.fastestAtTheEnd(), 0);
    meter.add(second);
    EXPECT_EQ(meter.fastestAtTheEnd(), 0) << "one frame has no rate";
    meter.add(second + second / 10);
    EXPECT_EQ(meter.fastestAtTheEnd(), 10);
    EXPECT_EQ(meter.fastest(), 0);
    meter.add(second + second / 5);
    EXPECT_EQ(meter.fastestAtTheEnd(), 10);
    add(meter, second + 3 * second / 10, 10, 10);
    EXPECT_EQ(meter.fastestAtTheEnd(), meter.fastest()) << "the rest of a longer one does not count";
}

TEST(FrameRateMeter, TimesThatDoNotGrowHaveNoRate) {
    FrameRateMeter meter;
    meter.add(second);
    meter.add(second);
    EXPECT_EQ(meter.fastestAtTheEnd(), 0);
}

} // namespace
} // namespace tavelo
