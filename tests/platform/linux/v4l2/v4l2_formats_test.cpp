// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_formats.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <limits>

#include "fake_camera.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// A driver made of one function.
class ScriptedNode final : public V4l2Node {
public:
    explicit ScriptedNode(std::function<int(unsigned long, void*)> script) : script_(std::move(script)) {}
    int control(unsigned long request, void* argument) override {
        ++requests;
        return script_(request, argument);
    }
    V4l2Mapping map(std::size_t /*length*/, std::uint32_t /*offset*/) override { return nullptr; }
    int descriptor() const override { return -1; }

    int requests = 0;

private:
    std::function<int(unsigned long, void*)> script_;
};

TEST(CanCapture, TakesCaptureNodesOnly) {
    constexpr std::uint32_t capture = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    EXPECT_TRUE(canCapture(capture));
    EXPECT_TRUE(canCapture(capture | V4L2_CAP_EXT_PIX_FORMAT | V4L2_CAP_READWRITE));
    EXPECT_FALSE(canCapture(V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING)) << "a metadata node";
    EXPECT_FALSE(canCapture(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE)) << "no streaming";
    EXPECT_FALSE(canCapture(V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING)) << "an output";
    EXPECT_FALSE(canCapture(capture | V4L2_CAP_VIDEO_M2M)) << "a codec";
    EXPECT_FALSE(canCapture(capture | V4L2_CAP_IO_MC)) << "part of a media pipeline";
    EXPECT_FALSE(canCapture(0));
}

TEST(OfferedModes, ListsFormatsSizesAndRates) {
    FakeCamera camera;
    camera.offer({{fourcc::yuyv, {640, 480}, {{{1, 30}, {1, 30}}, {{1, 15}, {1, 15}}}},
                  {fourcc::yuyv, {320, 240}, {{{1, 30}, {1, 30}}}},
                  {fourcc::mjpeg, {1280, 720}, {}}});
    int error = 0;
    const auto node = camera.open("", error);
    const auto modes = offeredModes(*node, {});
    ASSERT_EQ(modes.size(), 3U);
    EXPECT_EQ(modes[0].intervals.size(), 2U);
    EXPECT_EQ(modes[1].size.height, 240U);
    EXPECT_EQ(modes[2].format, fourcc::mjpeg);
    EXPECT_TRUE(modes[2].intervals.empty());
}

TEST(OfferedModes, PicksSizesAndRatesFromGrids) {
    ScriptedNode node([](unsigned long request, void* argument) {
        if (request == VIDIOC_ENUM_FMT) {
            auto& format = *static_cast<v4l2_fmtdesc*>(argument);
            format.pixelformat = fourcc::yuyv;
            return format.index == 0 ? 0 : EINVAL;
        }
        if (request == VIDIOC_ENUM_FRAMESIZES) {
            auto& size = *static_cast<v4l2_frmsizeenum*>(argument);
            size.type = V4L2_FRMSIZE_TYPE_STEPWISE;
            size.stepwise = {16, 1920, 8, 16, 1080, 8};
            return 0;
        }
        auto& interval = *static_cast<v4l2_frmivalenum*>(argument);
        interval.type = V4L2_FRMIVAL_TYPE_CONTINUOUS;
        interval.stepwise.min = {1, 120};
        interval.stepwise.max = {1, 1};
        return 0;
    });
    const auto ranked = rankFormats(offeredModes(node, {}), {});
    ASSERT_FALSE(ranked.empty());
    EXPECT_EQ(ranked.front().size.width, 1280U);
    EXPECT_EQ(ranked.front().size.height, 720U);
    EXPECT_DOUBLE_EQ(ranked.front().interval.framesPerSecond(), 30);
}

TEST(OfferedModes, TakesTheCurrentFormatOfADriverThatEnumeratesNothing) {
    ScriptedNode node([](unsigned long request, void* argument) {
        if (request != VIDIOC_G_FMT) return ENOTTY;
        auto& format = *static_cast<v4l2_format*>(argument);
        format.fmt.pix.width = 352;
        format.fmt.pix.height = 288;
        format.fmt.pix.pixelformat = fourcc::i420;
        return 0;
    });
    const auto modes = offeredModes(node, {});
    ASSERT_EQ(modes.size(), 1U);
    EXPECT_EQ(modes.front().size.width, 352U);
}

TEST(OfferedModes, EndsWithADriverThatNeverSaysStop) {
    ScriptedNode node([](unsigned long request, void* argument) {
        if (request == VIDIOC_ENUM_FRAMESIZES) {
            static_cast<v4l2_frmsizeenum*>(argument)->type = V4L2_FRMSIZE_TYPE_DISCRETE;
            return 0;
        }
        if (request == VIDIOC_ENUM_FRAMEINTERVALS) return EINVAL;
        return 0;
    });
    EXPECT_TRUE(rankFormats(offeredModes(node, {}), {}).empty());
    EXPECT_LT(node.requests, 200'000);
}

v4l2_pix_format pixFormat(std::uint32_t format, std::uint32_t colorspace) {
    v4l2_pix_format pix{};
    pix.width = 640;
    pix.height = 480;
    pix.pixelformat = format;
    pix.bytesperline = 1280;
    pix.colorspace = colorspace;
    return pix;
}

TEST(FrameFormatOf, TakesTheClassDefaultsIfTheDriverSaysNothing) {
    const FrameFormat format = frameFormat(pixFormat(fourcc::yuyv, V4L2_COLORSPACE_SRGB));
    EXPECT_EQ(format.matrix, YuvMatrix::bt601);
    EXPECT_FALSE(format.fullRange);
    EXPECT_EQ(format.bytesPerLine, 1280U);
    EXPECT_TRUE(frameFormat(pixFormat(fourcc::grey, V4L2_COLORSPACE_SRGB)).fullRange);
}

TEST(FrameFormatOf, FollowsTheDriversColours) {
    EXPECT_EQ(frameFormat(pixFormat(fourcc::yuyv, V4L2_COLORSPACE_REC709)).matrix, YuvMatrix::bt709);
    EXPECT_EQ(frameFormat(pixFormat(fourcc::yuyv, V4L2_COLORSPACE_BT2020)).matrix, YuvMatrix::bt2020);
    EXPECT_TRUE(frameFormat(pixFormat(fourcc::yuyv, V4L2_COLORSPACE_JPEG)).fullRange);
    v4l2_pix_format explicitly = pixFormat(fourcc::yuyv, V4L2_COLORSPACE_SRGB);
    explicitly.ycbcr_enc = V4L2_YCBCR_ENC_709;
    explicitly.quantization = V4L2_QUANTIZATION_FULL_RANGE;
    EXPECT_EQ(frameFormat(explicitly).matrix, YuvMatrix::bt709);
    EXPECT_TRUE(frameFormat(explicitly).fullRange);
}

v4l2_buffer stamped(std::uint32_t clock, std::chrono::microseconds time) {
    v4l2_buffer buffer{};
    buffer.flags = clock;
    buffer.timestamp = {time.count() / 1'000'000, time.count() % 1'000'000};
    return buffer;
}

TEST(FrameTime, IsTheDriversMonotonicStamp) {
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 99'500'000us), 100s), 99'500ms);
}

TEST(FrameTime, IsNowWhereTheStampIsOfAnotherClockOrFarOff) {
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_UNKNOWN, 99'500'000us), 100s), 100s);
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 0us), 100s), 100s);
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 102'000'000us), 100s), 100s);
}

TEST(FrameTime, IsNowWhereTheStampIsMoreThanAnyClockCounts) {
    constexpr auto most = std::numeric_limits<decltype(timeval::tv_sec)>::max();
    v4l2_buffer buffer = stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 100s);
    for (const timeval time : {timeval{most, 0},
                               {-most - 1, 0},
                               {most / 1'000'000'000, 0},
                               {100, most},
                               {100, -most - 1},
                               {100, 1'000'000},
                               {100, -1}}) {
        buffer.timestamp = time;
        EXPECT_EQ(frameTime(buffer, 100s), 100s) << time.tv_sec << ' ' << time.tv_usec;
    }
}

TEST(FrameTime, IsTheStampUpToASecondBeforeOrAfter) {
    for (const auto stamp : {99'000'000us, 99'999'999us, 100'000'001us, 101'000'000us})
        EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, stamp), 100s), stamp);
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 98'999'999us), 100s), 100s);
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 101'000'001us), 100s), 100s);
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 99'800'000us), 100'500ms), 99'800ms);
    EXPECT_EQ(frameTime(stamped(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, 101'400'000us), 100'500ms), 101'400ms);
}

} // namespace
} // namespace tavelo
