// SPDX-License-Identifier: MIT
#include "platform/common/format_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

namespace tavelo {
namespace {

OfferedMode mode(Fourcc format, std::uint32_t width, std::uint32_t height,
                 std::initializer_list<std::uint32_t> rates) {
    OfferedMode result{format, {width, height}, {}};
    for (const std::uint32_t rate : rates)
        result.intervals.push_back({{1, rate}, {1, rate}});
    return result;
}

std::string text(const FormatChoice& choice) {
    return fourccText(choice.format) + " " + std::to_string(choice.size.width) + "x" +
           std::to_string(choice.size.height) + "@" +
           std::to_string(choice.interval.framesPerSecond()).substr(0, 5);
}

std::string best(const std::vector<OfferedMode>& offered, const CaptureFormatRequest& request = {}) {
    const auto ranked = rankFormats(offered, request);
    return ranked.empty() ? "nothing" : text(ranked.front());
}

// A typical camera: uncompressed at full rate up to 640x480, the limit of USB 2, and MJPEG for all sizes.
const std::vector<OfferedMode> usb2Camera{
    mode(fourcc::yuyv, 640, 480, {30, 15}),       mode(fourcc::yuyv, 320, 240, {30}),
    mode(fourcc::yuyv, 1280, 720, {10, 5}),       mode(fourcc::yuyv, 1920, 1080, {5}),
    mode(fourcc::mjpeg, 1920, 1080, {30, 24}),    mode(fourcc::mjpeg, 1280, 720, {60, 30, 24}),
    mode(fourcc::mjpeg, 640, 480, {120, 60, 30}),
};

struct Case {
    const char* name;
    std::vector<OfferedMode> offered;
    CaptureFormatRequest request;
    const char* expected;
};

class FormatChoiceTable : public testing::TestWithParam<Case> {};

TEST_P(FormatChoiceTable, TheBestIs) {
    EXPECT_EQ(best(GetParam().offered, GetParam().request), GetParam().expected);
}

std::string caseName(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

// gtest prints failing cases with this.
void PrintTo(const Case& value, std::ostream* stream) {
    *stream << value.name;
}

const CaptureFormatRequest none;

INSTANTIATE_TEST_SUITE_P(
    Default, FormatChoiceTable,
    testing::Values(Case{"Usb2CameraTakesMjpegAt720p", usb2Camera, none, "MJPG 1280x720@30.00"},
                    Case{"UncompressedBeforeMjpegWhereBothQualify",
                         {mode(fourcc::mjpeg, 1280, 720, {30}), mode(fourcc::yuyv, 1280, 720, {30})},
                         none,
                         "YUYV 1280x720@30.00"},
                    Case{"UncompressedAt24BeforeMjpegAt30",
                         {mode(fourcc::mjpeg, 1280, 720, {30}), mode(fourcc::nv12, 1280, 720, {24})},
                         none,
                         "NV12 1280x720@24.00"},
                    Case{"UncompressedAt23DoesNotQualify",
                         {mode(fourcc::yuyv, 1280, 720, {23}), mode(fourcc::mjpeg, 1280, 720, {25})},
                         none,
                         "MJPG 1280x720@25.00"},
                    Case{"SizeBeforeFormat",
                         {mode(fourcc::yuyv, 640, 480, {30}), mode(fourcc::mjpeg, 800, 600, {24})},
                         none,
                         "MJPG 800x600@24.00"},
                    Case{"BestRateUpTo30",
                         {mode(fourcc::yuyv, 640, 480, {25, 90, 60, 29, 15})},
                         none,
                         "YUYV 640x480@29.00"},
                    Case{"ARateAbove30WhereNoneBelow",
                         {mode(fourcc::yuyv, 640, 480, {90, 60})},
                         none,
                         "YUYV 640x480@60.00"},
                    Case{"ASlowRateBelow30DoesNotDisqualifyAFastOne",
                         {mode(fourcc::yuyv, 640, 480, {30, 5})},
                         none,
                         "YUYV 640x480@30.00"},
                    Case{"FilmRateCountsAs24",
                         {{fourcc::yuyv, {1280, 720}, {{{1001, 24000}, {1001, 24000}}}},
                          mode(fourcc::yuyv, 640, 480, {30})},
                         none,
                         "YUYV 1280x720@23.97"},
                    Case{"VideoRateCountsAs30",
                         {{fourcc::yuyv, {640, 480}, {{{1001, 30000}, {1001, 30000}}, {{1, 25}, {1, 25}}}}},
                         none,
                         "YUYV 640x480@29.97"},
                    Case{"LargerThanTheBoxWhereNothingInsideMoves",
                         {mode(fourcc::yuyv, 1280, 720, {10}), mode(fourcc::mjpeg, 2560, 1440, {30}),
                          mode(fourcc::mjpeg, 1920, 1080, {30})},
                         none,
                         "MJPG 1920x1080@30.00"},
                    Case{"TheFastestWhereNothingMoves",
                         {mode(fourcc::yuyv, 1280, 720, {10}), mode(fourcc::yuyv, 640, 480, {15}),
                          mode(fourcc::yuyv, 320, 240, {15})},
                         none,
                         "YUYV 640x480@15.00"},
                    Case{"TallPicturesDoNotFitTheBox",
                         {mode(fourcc::yuyv, 720, 1280, {30}), mode(fourcc::yuyv, 640, 480, {30})},
                         none,
                         "YUYV 640x480@30.00"},
                    Case{"GreyOnlyWhereThereIsNothingElse",
                         {mode(fourcc::grey, 640, 360, {30})},
                         none,
                         "GREY 640x360@30.00"},
                    Case{"ColourBeforeGrey",
                         {mode(fourcc::grey, 640, 480, {30}), mode(fourcc::mjpeg, 640, 480, {30})},
                         none,
                         "MJPG 640x480@30.00"},
                    Case{"UnknownRatesAreTakenToBeGood",
                         {{fourcc::yuyv, {1280, 720}, {}}, mode(fourcc::yuyv, 640, 480, {30})},
                         none,
                         "YUYV 1280x720@0.000"},
                    Case{"ARangeOfRatesHolds30",
                         {{fourcc::yuyv, {640, 480}, {{{1, 60}, {1, 5}}}}},
                         none,
                         "YUYV 640x480@30.00"},
                    Case{"FormatsWeCannotShowAreNoChoice",
                         {mode(makeFourcc('H', '2', '6', '4'), 1280, 720, {30}),
                          mode(fourcc::uyvy, 320, 240, {30})},
                         none,
                         "UYVY 320x240@30.00"},
                    Case{"NothingOffered", {}, none, "nothing"},
                    Case{"SizesAndRatesOfZeroAreNoChoice",
                         {mode(fourcc::yuyv, 0, 480, {30}),
                          {fourcc::yuyv, {320, 240}, {{{0, 30}, {0, 30}}, {{1, 15}, {1, 15}}}}},
                         none,
                         "YUYV 320x240@15.00"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Demanded, FormatChoiceTable,
    testing::Values(
        Case{"SizeTakesTheFormatThatMoves",
             usb2Camera,
             {FrameSize{1920, 1080}, {}, {}},
             "MJPG 1920x1080@30.00"},
        Case{"SizeNotOfferedBendsToTheLargestWithin",
             usb2Camera,
             {FrameSize{1600, 900}, {}, {}},
             "MJPG 1280x720@30.00"},
        Case{"SizeBelowAllBendsToTheSmallest",
             usb2Camera,
             {FrameSize{160, 120}, {}, {}},
             "YUYV 320x240@30.00"},
        Case{"RateFindsTheLargestSizeThatHasIt", usb2Camera, {{}, 60.0, {}}, "MJPG 1280x720@60.00"},
        Case{"RateAboveAllBendsToTheNearest", usb2Camera, {{}, 240.0, {}}, "MJPG 640x480@120.0"},
        Case{"SlowRateIsTaken", usb2Camera, {{}, 10.0, {}}, "YUYV 1280x720@10.00"},
        Case{"Format", usb2Camera, {{}, {}, "YUYV"}, "YUYV 640x480@30.00"},
        Case{"FormatByAnotherName", usb2Camera, {{}, {}, "mjpeg"}, "MJPG 1280x720@30.00"},
        Case{"FormatNotOfferedIsIgnored", usb2Camera, {{}, {}, "NV12"}, "MJPG 1280x720@30.00"},
        Case{"All", usb2Camera, {FrameSize{1280, 720}, 5.0, "YUYV"}, "YUYV 1280x720@5.000"},
        Case{"RateWithinARange",
             {{fourcc::yuyv, {640, 480}, {{{1, 60}, {1, 5}}}}},
             {{}, 12.5, {}},
             "YUYV 640x480@12.50"}),
    caseName);

TEST(FormatChoice, RanksEveryModeSoThatAFullBusFindsALighterOne) {
    const auto ranked = rankFormats(usb2Camera, {});
    ASSERT_EQ(ranked.size(), usb2Camera.size());
    EXPECT_EQ(text(ranked[1]), "YUYV 640x480@30.00");
    EXPECT_EQ(text(ranked[2]), "MJPG 640x480@30.00");
    EXPECT_LT(ranked[2].bytesPerSecond(), ranked[1].bytesPerSecond());
}

TEST(FormatChoice, CountsWhatYuyvTakesOnTheBus) {
    EXPECT_DOUBLE_EQ((FormatChoice{fourcc::yuyv, {640, 480}, {1, 30}}).bytesPerSecond(), 18'432'000);
}

TEST(FormatChoice, ConsidersTheDefaultAndDemandedSizesOfAGrid) {
    const FrameSizeRange grid{{32, 32}, {1920, 1080}, {8, 2}};
    const auto sizes = sizesToConsider(grid, {FrameSize{1003, 501}, {}, {}});
    const auto has = [&](FrameSize size) {
        return std::ranges::any_of(
            sizes, [&](FrameSize other) { return other.width == size.width && other.height == size.height; });
    };
    EXPECT_TRUE(has({1280, 720}));
    EXPECT_TRUE(has({1000, 500}));
    EXPECT_TRUE(has({1920, 1080}));
    EXPECT_TRUE(has({32, 32}));
}

TEST(FormatChoice, SurvivesAGridWithoutSense) {
    EXPECT_TRUE(sizesToConsider({{0, 0}, {0, 0}, {0, 0}}, {}).empty());
    const auto sizes = sizesToConsider({{64, 64}, {8, 8}, {0, 0}}, {});
    ASSERT_EQ(sizes.size(), 1U);
    EXPECT_EQ(sizes.front().width, 64U);
}

TEST(FormatChoice, OmitsSizesThatCannotBeShown) {
    const std::vector<OfferedMode> offered{{fourcc::yuyv, {65535, 65535}, {}},
                                           {fourcc::yuyv, {16384, 16384}, {}},
                                           {fourcc::mjpeg, {16385, 16}, {}},
                                           {fourcc::mjpeg, {640, 480}, {}}};
    for (const auto& request : {CaptureFormatRequest{}, CaptureFormatRequest{{{65535, 65535}}, {}, "YUYV"}}) {
        const auto ranked = rankFormats(offered, request);
        ASSERT_EQ(ranked.size(), 1U);
        EXPECT_EQ(ranked.front().size.width, 640U);
    }
}

TEST(FormatChoice, AGridWithoutEndIsCutToWhatCanBeShown) {
    const auto sizes = sizesToConsider({{16, 16}, {65535, 65535}, {16, 16}}, {{{60000, 400}}, {}, {}});
    EXPECT_GE(sizes.size(), 6U);
    for (const FrameSize size : sizes) {
        EXPECT_LE(size.width, 16384U);
        EXPECT_LE(std::uint64_t(size.width) * size.height, std::uint64_t(1) << 26U);
    }
}

TEST(FormatChoice, ListsEachModeOnceAtItsHighestRate) {
    const std::vector<OfferedMode> offered{mode(fourcc::mjpeg, 640, 480, {15, 30}),
                                           mode(fourcc::yuyv, 640, 480, {}),
                                           mode(fourcc::mjpeg, 640, 480, {60, 5}),
                                           mode(fourcc::mjpeg, 640, 360, {5}),
                                           {fourcc::yuyv, {320, 240}, {{{1, 25}, {1, 5}}}}};
    EXPECT_EQ(captureFormats(offered), (std::vector<CaptureFormat>{{"MJPG", {640, 480}, 60},
                                                                   {"YUYV", {640, 480}, 0},
                                                                   {"MJPG", {640, 360}, 5},
                                                                   {"YUYV", {320, 240}, 25}}));
}

TEST(FormatChoice, NamesFormats) {
    EXPECT_EQ(fourccText(fourcc::mjpeg), "MJPG");
    EXPECT_EQ(fourccText(0x01594747), "GGY?");
    EXPECT_EQ(fourccFromText("yuy2"), fourcc::yuyv);
    EXPECT_EQ(fourccFromText("H264"), std::nullopt);
    EXPECT_EQ(fourccFromText(""), std::nullopt);
}

} // namespace
} // namespace tavelo
