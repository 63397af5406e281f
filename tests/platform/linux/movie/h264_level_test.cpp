// SPDX-License-Identifier: MIT
#include "platform/linux/movie/h264_level.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

struct Video {
    int level;
    int width;
    int height;
    double rate;
};

// The largest videos that ITU-T H.264 names for each level, or ones just below its limit.
constexpr Video videos[]{
    {10, 176, 144, 15},    {11, 352, 288, 7.5},  {12, 352, 288, 15},   {13, 352, 288, 30},
    {21, 352, 576, 25},    {22, 720, 480, 15.7}, {30, 720, 480, 30},   {31, 1280, 720, 30},
    {32, 1280, 720, 60},   {40, 1920, 1080, 30}, {42, 2048, 1080, 60}, {50, 2560, 1920, 30},
    {51, 3840, 2160, 30},  {52, 4096, 2160, 60}, {60, 8192, 4320, 30}, {61, 8192, 4320, 60},
    {62, 8192, 4320, 120},
};

TEST(H264Level, IsTheLowestThatAllowsTheVideo) {
    for (const Video& video : videos)
        EXPECT_EQ(h264LevelFor(video.width, video.height, video.rate), video.level)
            << video.width << "x" << video.height << " at " << video.rate;
}

TEST(H264Level, IsTheNextOneIfTheVideoIsATenthFaster) {
    for (const Video* video = std::begin(videos); std::next(video) != std::end(videos); ++video)
        EXPECT_GE(h264LevelFor(video->width, video->height, video->rate * 1.1), std::next(video)->level)
            << video->level;
}

// ITU-T H.264, table A-1: macroblocks a second.  Cameras are a little faster than they say.
TEST(H264Level, AllowsSixPercentMoreThanTheStandard) {
    struct Limit {
        int level;
        double blocks;
        int next;
    };
    constexpr Limit limits[]{
        {10, 1485, 11},   {11, 3000, 12},    {12, 6000, 13},    {13, 11880, 21},
        {21, 19800, 22},  {22, 20250, 30},   {30, 40500, 31},   {31, 108000, 32},
        {32, 216000, 40}, {40, 245760, 42},  {42, 522240, 50},  {50, 589824, 51},
        {51, 983040, 52}, {52, 2073600, 60}, {60, 4177920, 61}, {61, 8355840, 62},
    };
    for (const Limit& limit : limits) {
        EXPECT_EQ(h264LevelFor(16, 16, limit.blocks * 1.06 - 0.5), limit.level);
        EXPECT_EQ(h264LevelFor(16, 16, limit.blocks * 1.06 + 0.5), limit.next);
    }
}

TEST(H264Level, CountsPartsOfAMacroblockAsWholeOnes) {
    EXPECT_EQ(h264LevelFor(1281, 720, 30 * 1.06), 32);
    EXPECT_EQ(h264LevelFor(1280, 721, 30 * 1.06), 32);
    EXPECT_EQ(h264LevelFor(1280, 720, 30 * 1.06), 31);
}

} // namespace
} // namespace tavelo
