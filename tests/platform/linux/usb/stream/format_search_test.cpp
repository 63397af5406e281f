// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/format_search.h"

#include <gmock/gmock.h>

namespace tavelo {
namespace {

constexpr std::uint32_t fps30 = 333'333;
constexpr std::uint32_t fps15 = 666'666;
constexpr std::uint32_t fps5 = 2'000'000;

UvcFrameOffer offer(Fourcc format, std::uint32_t width, std::uint32_t height,
                    const std::vector<std::uint32_t>& intervals) {
    UvcFrameOffer result;
    result.format = format;
    result.size = {width, height};
    result.defaultInterval = fps15;
    for (const std::uint32_t interval : intervals)
        result.intervals.push_back({{interval, intervalUnits}, {interval, intervalUnits}});
    return result;
}

class FormatSearchTest : public testing::Test {
protected:
    const std::vector<UvcFrameOffer> offers{
        offer(fourcc::yuyv, 640, 480, {fps15, fps30}), offer(fourcc::uyvy, 640, 480, {fps30}),
        offer(fourcc::mjpeg, 640, 480, {fps30}), offer(fourcc::yuyv, 320, 240, {fps30})};
    FormatSearch search{offers, {}};
};

TEST_F(FormatSearchTest, ProposesTheBestAtItsBestRate) {
    const auto best = search.best();
    ASSERT_TRUE(best);
    EXPECT_EQ(best->offer, offers.data());
    EXPECT_EQ(best->interval, fps30);
    EXPECT_NEAR(best->bytesPerSecond, 640 * 480 * 2 * 30, 1000);
}

TEST_F(FormatSearchTest, FollowsADemand) {
    const FormatSearch demanding(offers, {CaptureFormatRequest::Size{640, 480}, 15.0, "YUYV"});
    EXPECT_EQ(demanding.best()->offer, offers.data());
    EXPECT_EQ(demanding.best()->interval, fps15);
}

TEST_F(FormatSearchTest, ARefusedFormatGivesWayToTheNext) {
    search.refused(*search.best());
    EXPECT_EQ(search.best()->offer, &offers[1]) << "as heavy, but another one";
}

TEST_F(FormatSearchTest, AFullBusRulesOutAllThatIsNoLighter) {
    search.tooHeavy(*search.best());
    EXPECT_EQ(search.best()->offer, &offers[2]) << "UYVY is as heavy as YUYV";
}

TEST_F(FormatSearchTest, IsEmptyOnceNothingIsLeft) {
    for (std::size_t i = 0; i < offers.size(); ++i)
        search.refused(*search.best());
    EXPECT_FALSE(search.best());
    EXPECT_FALSE(FormatSearch({}, {}).best());
}

TEST_F(FormatSearchTest, ARoundedRateIsTheSameRate) {
    EXPECT_TRUE(search.accepts(*search.best(), fps30 + 300));
    EXPECT_TRUE(search.accepts(*search.best(), fps30 / 2)) << "faster";
    EXPECT_TRUE(search.accepts(*search.best(), 0)) << "not told";
}

TEST_F(FormatSearchTest, ALowerRateMakesAnotherFormatTheBetterOne) {
    const auto first = *search.best();
    EXPECT_FALSE(search.accepts(first, fps5));
    EXPECT_EQ(search.best()->offer, &offers[1]);
    search.refused(*search.best());
    search.refused(*search.best());
    search.refused(*search.best());
    const auto again = search.best();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->offer, first.offer) << "when nothing else is left it will do";
    EXPECT_EQ(again->interval, fps5);
    EXPECT_TRUE(search.accepts(*again, fps5));
    EXPECT_TRUE(search.accepts(*again, 2 * fps5)) << "whatever it says then";
}

TEST_F(FormatSearchTest, ACameraThatAnswersEverLowerRatesIsTakenTheSecondTime) {
    constexpr std::uint32_t fps3 = 3'333'333;
    const std::vector<UvcFrameOffer> two{offers[0], offers[1]};
    FormatSearch between(two, {});
    EXPECT_FALSE(between.accepts(*between.best(), fps15));
    EXPECT_FALSE(between.accepts(*between.best(), fps5));
    const auto again = between.best();
    EXPECT_EQ(again->offer, two.data());
    EXPECT_TRUE(between.accepts(*again, fps3)) << "asking on would never end";
}

TEST_F(FormatSearchTest, ALowerRateThatIsStillTheBestIsTaken) {
    const std::vector<UvcFrameOffer> one{offers[0]};
    FormatSearch only(one, {});
    EXPECT_TRUE(only.accepts(*only.best(), fps5));
}

TEST_F(FormatSearchTest, ACameraThatTellsNoRateIsAskedForItsDefault) {
    const std::vector<UvcFrameOffer> silent{offer(fourcc::mjpeg, 640, 480, {})};
    EXPECT_EQ(FormatSearch(silent, {}).best()->interval, fps15);
}

TEST_F(FormatSearchTest, ARateWithinARangeIsAskedForInItsUnits) {
    std::vector<UvcFrameOffer> ranged{offer(fourcc::mjpeg, 640, 480, {})};
    ranged[0].intervals.push_back({{100'000, intervalUnits}, {10'000'000, intervalUnits}});
    EXPECT_EQ(FormatSearch(ranged, {}).best()->interval, fps30);
}

} // namespace
} // namespace tavelo
