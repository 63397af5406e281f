// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/camera_rate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>

namespace tavelo {
namespace {

using std::chrono::nanoseconds;
using namespace std::chrono_literals;

/// Of frames that come after these times.
std::optional<FrameRate> rateAfter(std::initializer_list<nanoseconds> intervals) {
    CameraRate rate;
    nanoseconds now = 1h;
    rate.add(MediaTime::fromNanoseconds(now));
    for (const nanoseconds interval : intervals)
        rate.add(MediaTime::fromNanoseconds(now += interval));
    return rate.rate();
}

std::optional<FrameRate> rateOf(nanoseconds interval) {
    return rateAfter({interval, interval, interval, interval, interval});
}

TEST(CameraRate, IsKnownAfterSixFrames) {
    EXPECT_EQ(rateAfter({33ms, 33ms, 33ms, 33ms}), std::nullopt);
    EXPECT_EQ(rateAfter({33ms, 33ms, 33ms, 33ms, 33ms}), (FrameRate{30, 1}));
}

TEST(CameraRate, IsTheCommonOneNearby) {
    EXPECT_EQ(rateOf(33'366'667ns), (FrameRate{30, 1}));
    EXPECT_EQ(rateOf(133ms), (FrameRate{15, 2}));
    EXPECT_EQ(rateOf(41'666'667ns), (FrameRate{24, 1}));
    EXPECT_EQ(rateOf(40ms), (FrameRate{25, 1}));
    EXPECT_EQ(rateOf(8'400us), (FrameRate{120, 1}));
}

TEST(CameraRate, AnUncommonOneIsWholeFramesWithinReason) {
    EXPECT_EQ(rateOf(27ms), (FrameRate{37, 1}));
    EXPECT_EQ(rateOf(1ns), (FrameRate{1000, 1}));
    EXPECT_EQ(rateOf(5s), (FrameRate{1, 1}));
}

TEST(CameraRate, LateFramesDoNotCount) {
    EXPECT_EQ(rateAfter({33ms, 300ms, 33ms, 1ms, 33ms}), (FrameRate{30, 1}));
}

TEST(CameraRate, TimesThatDoNotGrowDoNotCount) {
    EXPECT_EQ(rateAfter({33ms, 0ms, 33ms, -1ms, 34ms, 33ms, 33ms}), (FrameRate{30, 1}));
    EXPECT_EQ(rateAfter({0ms, 0ms, 0ms, 33ms, 33ms, 33ms, 33ms, 33ms}), (FrameRate{30, 1}));
    CameraRate rate;
    for (int frame = 0; frame < 20; ++frame)
        rate.add(MediaTime());
    EXPECT_EQ(rate.rate(), std::nullopt);
}

TEST(CameraRate, StaysWhatItWas) {
    EXPECT_EQ(rateAfter({33ms, 33ms, 33ms, 33ms, 33ms, 5ms, 5ms, 5ms, 5ms, 5ms}), (FrameRate{30, 1}));
}

} // namespace
} // namespace tavelo
