// SPDX-License-Identifier: MIT
#include "platform/common/frame_bounds.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavelo {
namespace {

TEST(FrameBounds, TakePicturesOfRealCameras) {
    for (const FrameSize size :
         {FrameSize{1, 1}, {640, 480}, {3840, 2160}, {7680, 4320}, {9152, 6944}, {16384, 4096}})
        EXPECT_TRUE(isShowable(size)) << size.width << "x" << size.height;
}

TEST(FrameBounds, RefuseEmptyAndImpossiblePictures) {
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    for (const FrameSize size : {FrameSize{0, 0},
                                 {0, 480},
                                 {640, 0},
                                 {16385, 1},
                                 {1, 16385},
                                 {65535, 65535},
                                 {16384, 16384},
                                 {most, most},
                                 {most, 1}})
        EXPECT_FALSE(isShowable(size)) << size.width << "x" << size.height;
}

TEST(FrameBounds, CountTheBytesOfAFrame) {
    EXPECT_EQ(wholeFrameBytes(fourcc::yuyv, {640, 480}), 614'400U);
    EXPECT_EQ(wholeFrameBytes(fourcc::uyvy, {3, 2}), 16U);
    EXPECT_EQ(wholeFrameBytes(fourcc::nv12, {640, 480}), 460'800U);
    EXPECT_EQ(wholeFrameBytes(fourcc::i420, {3, 3}), 20U);
    EXPECT_EQ(wholeFrameBytes(fourcc::grey, {640, 480}), 307'200U);
    EXPECT_EQ(wholeFrameBytes(fourcc::mjpeg, {640, 480}), 0U);
}

TEST(FrameBounds, ABufferOfTheLargestPictureFitsIntoAnOrdinaryMachine) {
    for (const Fourcc format : {fourcc::yuyv, fourcc::nv12, fourcc::grey, fourcc::mjpeg}) {
        const FrameSize largest{8192, 8192};
        ASSERT_TRUE(isShowable(largest));
        EXPECT_GE(mostFrameBytes(format, largest), wholeFrameBytes(format, largest));
        EXPECT_LE(mostFrameBytes(format, largest), std::size_t{160} << 20U);
    }
}

} // namespace
} // namespace tavelo
