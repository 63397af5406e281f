// SPDX-License-Identifier: MIT
#include "bench/peers/link/camera_mode.h"

#include <gtest/gtest.h>

namespace tavelo::bench {
namespace {

TEST(CameraModeTest, ReadsFormatSizeAndRate) {
    const auto mode = parseCameraMode("MJPG:1280x720@30");
    ASSERT_TRUE(mode);
    EXPECT_EQ(mode->fourcc, mjpegFormat);
    EXPECT_EQ(mode->width, 1280U);
    EXPECT_EQ(mode->height, 720U);
    EXPECT_EQ(mode->framesPerSecond, 30U);
}

TEST(CameraModeTest, RefusesWhatTheCameraCannotDraw) {
    for (const char* text :
         {"", "YUYV", "NV12:640x480@30", "YUYV:640x480", "YUYV:640x480@", "YUYV:640x480@0", "YUYV:641x480@30",
          "YUYV:100x480@30", "YUYV:640x4098@30", "YUYV:640x480@241", "YUYV:640x480@30 ", "YUYV 640x480@30"})
        EXPECT_FALSE(parseCameraMode(text)) << text;
}

TEST(CameraModeTest, OnlyYuyvHasRows) {
    EXPECT_EQ(parseCameraMode("YUYV:640x480@30")->bytesPerLine(), 1280U);
    EXPECT_EQ(parseCameraMode("MJPG:640x480@30")->bytesPerLine(), 0U);
}

} // namespace
} // namespace tavelo::bench
