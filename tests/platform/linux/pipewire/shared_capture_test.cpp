// SPDX-License-Identifier: MIT
// A camera's input with a real daemon and sources of other programs.
#include <gmock/gmock.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <numeric>
#include <thread>

#include "fake_camera.h"
#include "platform/linux/kernel/capture_input.h"
#include "platform/linux/pipewire/library_platform.h"
#include "platform/linux/pipewire/private_pipewire.h"
#include "platform/linux/pipewire/process_facts.h"
#include "platform/linux/pipewire/test_picture_source.h"
#include "support/recorded_diagnostics.h"
#include "support/recorded_frames.h"
#include "test_pictures.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr StreamPatience patient{60s, 60s, 1ms, 1ms, 5ms, 1ms, 4ms};
constexpr FrameSize small{32, 16};
constexpr FrameInterval thirty{1, 30};
const std::string node = "/dev/video7";

const FormatChoice yuyv{fourcc::yuyv, small, thirty};

/// Another value for each byte, so that a byte in the wrong place shows.
Bytes rampFrame(std::size_t size, int first = 0) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t(first));
    return bytes;
}

/// What the driver's way makes of the same bytes.
std::shared_ptr<PixelBuffer> converted(const FrameFormat& format, std::span<const std::uint8_t> bytes) {
    FrameConverter converter;
    EXPECT_TRUE(converter.setFormat(format));
    return converter.convert(bytes);
}

bool samePixels(const PixelBuffer& a, const PixelBuffer& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (std::size_t y = 0; y < a.height(); ++y)
        if (!std::equal(a.baseAddress() + y * a.bytesPerRow(),
                        a.baseAddress() + y * a.bytesPerRow() + a.width() * 4,
                        b.baseAddress() + y * b.bytesPerRow()))
            return false;
    return true;
}

class SharedCaptureTest : public ::testing::Test {
protected:
    KernelCaptureInput& start(bool only = true, const CaptureFormatRequest& request = {},
                              const StreamPatience& patience = patient) {
        input_ = std::make_unique<KernelCaptureInput>(
            nullptr, node, std::shared_ptr<V4l2NodeOpener>(std::shared_ptr<void>(), &driver_),
            CaptureInputOptions{.diagnostics = diagnostics_,
                                .whoHolds = [] { return "busy: in use by cheese, process 20"; },
                                .request = request,
                                .patience = patience},
            SharedPictures{.open = [this] { return platform_->makeSharedCamera(node); },
                           .only = only,
                           .linkTime = linkTime_});
        input_->start(frames_);
        return *input_;
    }

    /// Sends until the input delivers a picture more.
    bool sendUntilSeen(TestPictureSource& source, const TestPictureSource::Frame& frame) {
        const std::size_t before = frames_.count();
        const auto end = std::chrono::steady_clock::now() + waitLimit;
        while (frames_.count() == before) {
            source.send(frame);
            std::this_thread::sleep_for(5ms);
            if (std::chrono::steady_clock::now() > end) return false;
        }
        return true;
    }

    /// Sends once, when a buffer is free.
    static bool sendSoon(TestPictureSource& source, const TestPictureSource::Frame& frame) {
        const auto end = std::chrono::steady_clock::now() + waitLimit;
        while (!source.send(frame)) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    void expectPictureOf(const FrameFormat& format, std::span<const std::uint8_t> bytes) {
        const SampleBuffer last = frames_.last();
        ASSERT_NE(last.imageBuffer, nullptr);
        EXPECT_TRUE(samePixels(*last.imageBuffer, *converted(format, bytes)));
    }

    /// The stream may be seen to end before the camera is seen to be gone.
    void expectOneChangeToTheDriver() const {
        const auto change = HasSubstr("; using the driver");
        EXPECT_THAT(diagnostics_.lines(),
                    AnyOf(ElementsAre(change), ElementsAre(HasSubstr("; trying again"), change)));
    }

    ~SharedCaptureTest() override { input_.reset(); }

    PrivatePipewire pipewire_;
    RecordedDiagnostics diagnostics_;
    FakeCamera driver_;
    RecordedFrames frames_;
    std::chrono::milliseconds linkTime_{30s}; // what a loaded machine may need
    std::shared_ptr<PipewirePlatform> platform_ = makePipewirePlatform(diagnostics_);
    std::unique_ptr<KernelCaptureInput> input_;
};

TEST_F(SharedCaptureTest, ShowsEveryPixelOfAYuyvSource) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    for (int first = 0; first < 5; ++first) {
        const Bytes bytes = rampFrame(1024, first * 50);
        ASSERT_TRUE(sendUntilSeen(source, {.bytes = bytes}));
        expectPictureOf({fourcc::yuyv, small}, bytes);
    }
    EXPECT_EQ(driver_.counts().opened, 0);
    EXPECT_THAT(diagnostics_.lines(), IsEmpty());
    EXPECT_EQ(input_->trouble().code, ErrorCode::none);
}

TEST_F(SharedCaptureTest, ShowsEveryPixelOfAnMjpegSource) {
    pipewire_.start();
    TestPictureSource source(node, {{fourcc::mjpeg, {64, 48}, thirty}});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    for (const Bytes& jpeg : {noisyJpeg(64, 48), softJpeg(64, 48)}) {
        ASSERT_TRUE(sendUntilSeen(source, {.bytes = jpeg}));
        expectPictureOf({fourcc::mjpeg, {64, 48}}, jpeg);
    }
}

TEST_F(SharedCaptureTest, ObeysTheLengthOfRowsAndTheBeginningOfTheFrame) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    const Bytes padded = rampFrame(std::size_t{80} * 16, 3);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = padded, .offset = 48, .stride = 80}));
    expectPictureOf({fourcc::yuyv, small, 80}, padded);
    const Bytes tight = rampFrame(1024, 9);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = tight, .stride = 64}));
    expectPictureOf({fourcc::yuyv, small, 64}, tight);
}

TEST_F(SharedCaptureTest, DropsFramesThatTheSourceCallsDamagedOrThatAreShort) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    const Bytes good = rampFrame(1024);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = good}));
    const std::size_t before = frames_.count();
    const Bytes bad = rampFrame(1024, 77);
    for (const TestPictureSource::Frame& frame :
         {TestPictureSource::Frame{.bytes = bad, .chunkFlags = SPA_CHUNK_FLAG_CORRUPTED},
          TestPictureSource::Frame{.bytes = bad, .chunkFlags = SPA_CHUNK_FLAG_EMPTY},
          TestPictureSource::Frame{.bytes = bad, .headerFlags = SPA_META_HEADER_FLAG_CORRUPTED},
          TestPictureSource::Frame{.bytes = std::span(bad).first(1023)}, TestPictureSource::Frame{}})
        for (int time = 0; time < 3; ++time)
            ASSERT_TRUE(sendSoon(source, frame));
    EXPECT_EQ(frames_.count(), before);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = good}));
    expectPictureOf({fourcc::yuyv, small}, good);
}

TEST_F(SharedCaptureTest, PassesOnTheTimeAtWhichTheSourceTookTheFrame) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    const Bytes bytes = rampFrame(1024);
    const auto now = [] { return std::chrono::steady_clock::now().time_since_epoch() / 1ns; };
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = bytes}));
    EXPECT_LT(std::abs(frames_.times().back() - now()), std::int64_t{1'000'000'000});
    const std::int64_t taken = now() - 1000;
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = bytes, .time = taken}));
    EXPECT_EQ(frames_.times().back(), std::max(taken, frames_.times()[frames_.count() - 2] + 1));
    for (const std::int64_t another : {std::int64_t{5}, now() + 3'600'000'000'000}) {
        ASSERT_TRUE(sendUntilSeen(source, {.bytes = bytes, .time = another}));
        EXPECT_LT(std::abs(frames_.times().back() - now()), std::int64_t{1'000'000'000}) << "another clock";
    }
}

TEST_F(SharedCaptureTest, ChoosesTheFormatOfAnIdleCameraAsOverTheDriver) {
    pipewire_.start();
    TestPictureSource source(node, {{fourcc::yuyv, {160, 120}, thirty},
                                    {fourcc::mjpeg, {64, 48}, thirty},
                                    {fourcc::yuyv, {64, 48}, {1, 15}},
                                    {fourcc::yuyv, {64, 48}, thirty}});
    start(true, {FrameSize{64, 48}, {}, {}});
    ASSERT_TRUE(source.waitForStreaming());
    EXPECT_EQ(source.format(), (FrameFormat{fourcc::yuyv, {64, 48}}));
    input_->stop();
    ASSERT_TRUE(source.waitForStreaming(false));
    start(true, {FrameSize{64, 48}, {}, "MJPG"});
    ASSERT_TRUE(source.waitForFormat({64, 48}));
    ASSERT_TRUE(source.waitForStreaming());
    EXPECT_EQ(source.format()->format, fourcc::mjpeg);
}

TEST_F(SharedCaptureTest, TakesWhatTheCameraRunsAtForAnotherProgram) {
    pipewire_.start();
    TestPictureSource source(node, {{fourcc::yuyv, {160, 120}, thirty}, {fourcc::yuyv, small, thirty}});
    const SideProgram other =
        pipewire_.startProgram({"gst-launch-1.0", "-q", "pipewiresrc", "target-object=test-source", "!",
                                "video/x-raw,format=YUY2,width=32,height=16", "!", "fakesink"});
    ASSERT_TRUE(source.waitForFormat(small));
    ASSERT_TRUE(source.waitForStreaming());
    start(true, {FrameSize{160, 120}, {}, {}});
    const Bytes bytes = rampFrame(1024, 21);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = bytes}));
    expectPictureOf({fourcc::yuyv, small}, bytes);
}

TEST_F(SharedCaptureTest, FollowsAFormatThatChangesInMidStream) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024)}));
    source.offer({{fourcc::mjpeg, {64, 48}, thirty}});
    ASSERT_TRUE(source.waitForFormat({64, 48}));
    ASSERT_TRUE(source.waitForStreaming());
    const Bytes jpeg = softJpeg(64, 48);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = jpeg}));
    expectPictureOf({fourcc::mjpeg, {64, 48}}, jpeg);
    EXPECT_EQ(driver_.counts().opened, 0);
}

TEST_F(SharedCaptureTest, TakesTheNewestFrameAndKeepsTheSourceGoingWhileTheReceiverIsSlow) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    ASSERT_TRUE(source.waitForStreaming());
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024)}));
    frames_.hold(true);
    ASSERT_TRUE(sendSoon(source, {.bytes = rampFrame(1024, 1)}));
    ASSERT_TRUE(frames_.waitForHeld());
    const std::size_t before = frames_.count();
    for (int first = 2; first < 40; ++first)
        ASSERT_TRUE(sendSoon(source, {.bytes = rampFrame(1024, first)}));
    frames_.hold(false);
    ASSERT_TRUE(frames_.waitForFrames(before + 2)); // the held one and the newest
    const auto newest = converted({fourcc::yuyv, small}, rampFrame(1024, 39));
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    while (!samePixels(*frames_.last().imageBuffer, *newest) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
    expectPictureOf({fourcc::yuyv, small}, rampFrame(1024, 39));
    EXPECT_LE(frames_.count(), before + 5) << "the last ones may have come while the first of them was shown";
}

TEST_F(SharedCaptureTest, APictureOfAForeignProgramIsShown) {
    pipewire_.start();
    start();
    // GStreamer's sink crashes now and then when it is linked.
    SideProgram foreign;
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    while (frames_.count() < 5 && std::chrono::steady_clock::now() < end) {
        if (!foreign.runs())
            foreign = pipewire_.startProgram(
                {"gst-launch-1.0", "-q", "--no-fault", "videotestsrc", "is-live=true", "pattern=red", "!",
                 "video/x-raw,format=YUY2,width=64,height=48,framerate=30/1", "!", "pipewiresink",
                 "mode=provide",
                 "stream-properties=props,media.class=Video/Source,object.path=v4l2:" + node});
        std::this_thread::sleep_for(10ms);
    }
    const SampleBuffer last = frames_.last();
    ASSERT_NE(last.imageBuffer, nullptr);
    ASSERT_EQ(last.imageBuffer->width(), 64U);
    EXPECT_LE(distance(pixelOf(*last.imageBuffer, 30, 20), {0, 0, 255}), 3);
}

TEST_F(SharedCaptureTest, APictureComesBackAfterTheDaemonWasKilled) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    start();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024, round)})) << round;
        pipewire_.killDaemon();
        pipewire_.killManager();
        pipewire_.start();
    }
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024, 99)}));
    expectPictureOf({fourcc::yuyv, small}, rampFrame(1024, 99));
}

TEST_F(SharedCaptureTest, TheDriverTakesOverWhenTheDaemonDiesAndGivesWayWhenItReturns) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    ASSERT_TRUE(source.waitUntilListed());
    start(false);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024)}));
    pipewire_.killDaemon();
    pipewire_.killManager();
    ASSERT_TRUE(driver_.waitForStreamOn(1));
    const std::size_t before = frames_.count();
    ASSERT_TRUE(driver_.deliver(rampFrame(1024, 5)));
    ASSERT_TRUE(frames_.waitForFrames(before + 1));
    expectOneChangeToTheDriver();
    pipewire_.start();
    ASSERT_TRUE(driver_.waitForClosed(driver_.counts().opened));
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024, 6)}));
    expectPictureOf({fourcc::yuyv, small}, rampFrame(1024, 6));
}

TEST_F(SharedCaptureTest, ASourceThatVanishesGivesWayToTheDriver) {
    pipewire_.start();
    auto source = std::make_unique<TestPictureSource>(node, std::vector{yuyv});
    ASSERT_TRUE(source->waitUntilListed());
    start(false);
    ASSERT_TRUE(sendUntilSeen(*source, {.bytes = rampFrame(1024)}));
    source.reset();
    ASSERT_TRUE(driver_.waitForStreamOn(1));
    expectOneChangeToTheDriver();
    source = std::make_unique<TestPictureSource>(node, std::vector{yuyv});
    EXPECT_TRUE(sendUntilSeen(*source, {.bytes = rampFrame(1024)}));
}

TEST_F(SharedCaptureTest, AStreamThatTheManagerEndsIsBegunAgainAndNotOverTheDriver) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    ASSERT_TRUE(source.waitUntilListed());
    start(false);
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024)}));
    pipewire_.killManager(); // the link goes with it
    ASSERT_TRUE(source.waitForStreaming(false));
    pipewire_.startManager();
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024, 4)}));
    EXPECT_EQ(driver_.counts().opened, 0);
}

TEST_F(SharedCaptureTest, AnotherCameraIsNeverShownInItsPlace) {
    pipewire_.start();
    TestPictureSource another("/dev/video70", {yuyv});
    ASSERT_TRUE(another.waitUntilListed());
    start(false);
    ASSERT_TRUE(driver_.waitForStreamOn(1));
    EXPECT_THAT(diagnostics_.lines(),
                ElementsAre(HasSubstr("it does not have the camera; using the driver")));
    EXPECT_FALSE(another.format());
}

TEST_F(SharedCaptureTest, WithoutAManagerThatLinksTheDriverTakesOverInTime) {
    pipewire_.startDaemon();
    TestPictureSource source(node, {yuyv});
    ASSERT_TRUE(source.waitUntilListed());
    linkTime_ = 100ms;
    start(false);
    ASSERT_TRUE(driver_.waitForStreamOn(1));
    EXPECT_THAT(diagnostics_.lines(), ElementsAre(HasSubstr("was not linked")));
    ASSERT_TRUE(driver_.deliver(rampFrame(1024)));
    EXPECT_TRUE(frames_.waitForFrames(1));
}

TEST_F(SharedCaptureTest, ADriverThatIsBusyIsSaidToBe) {
    pipewire_.start();
    driver_.failNext(VIDIOC_STREAMON, EBUSY, 1000);
    start(false);
    ASSERT_TRUE(driver_.waitForOpened(10));
    EXPECT_EQ(input_->trouble().code, ErrorCode::busy);
    EXPECT_THAT(diagnostics_.lines(), ElementsAre(HasSubstr("using the driver"), HasSubstr("cheese")));
}

TEST_F(SharedCaptureTest, WhoWantsPipewireOnlyNeverGetsTheDriver) {
    pipewire_.start();
    start(true, {}, {30ms, 30ms, 1ms, 1ms, 5ms, 1ms, 4ms});
    ASSERT_TRUE(diagnostics_.waitForLines(1));
    EXPECT_THAT(diagnostics_.lines(),
                ElementsAre(HasSubstr("PipeWire: it does not have the camera; trying again")));
    EXPECT_NE(input_->trouble().code, ErrorCode::none);
    TestPictureSource source(node, {yuyv});
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024)}));
    EXPECT_EQ(driver_.counts().opened, 0);
    EXPECT_EQ(input_->trouble().code, ErrorCode::none);
}

TEST_F(SharedCaptureTest, WithoutADaemonTheDriverIsAskedAtOnce) {
    start(false);
    ASSERT_TRUE(driver_.waitForStreamOn(1));
}

TEST_F(SharedCaptureTest, WhatTheUserHasNotAllowedIsNotShownAndWhatHeAllowsIs) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    ASSERT_TRUE(source.waitUntilListed());
    std::atomic<int> asked = 0;
    std::atomic<bool> allowed = false;
    platform_ = makePipewirePlatform(diagnostics_, [&] {
        ++asked;
        return allowed ? PipewireGrant{pipewire_.connection()} : PipewireGrant{{}, true};
    });
    start(false);
    while (asked < 3)
        std::this_thread::sleep_for(5ms);
    EXPECT_EQ(driver_.counts().opened, 0);
    EXPECT_FALSE(source.format());
    allowed = true;
    ASSERT_TRUE(sendUntilSeen(source, {.bytes = rampFrame(1024)}));
    EXPECT_EQ(driver_.counts().opened, 0);
    EXPECT_THAT(diagnostics_.lines(), IsEmpty());
    EXPECT_EQ(input_->trouble().code, ErrorCode::none);

    allowed = false; // taken back in mid-stream
    pipewire_.killDaemon();
    pipewire_.killManager();
    const int before = asked;
    while (asked < before + 2)
        std::this_thread::sleep_for(5ms);
    ASSERT_TRUE(driver_.waitForClosed(driver_.counts().opened));
    input_->stop();
}

TEST_F(SharedCaptureTest, AnInputWhoseCameraIsNotAllowedStopsAtOnce) {
    platform_ = makePipewirePlatform(diagnostics_, [] { return PipewireGrant{{}, true}; });
    start(false);
    const auto before = std::chrono::steady_clock::now();
    input_->stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 5s);
    EXPECT_EQ(driver_.counts().opened, 0);
}

TEST_F(SharedCaptureTest, WhereNobodyCanBeAskedTheDriverIs) {
    platform_ = makePipewirePlatform(diagnostics_, [] { return PipewireGrant(); });
    start(false);
    EXPECT_TRUE(driver_.waitForStreamOn(1));
}

TEST_F(SharedCaptureTest, AHundredStreamsLeaveNothingBehind) {
    pipewire_.start();
    TestPictureSource source(node, {yuyv});
    const auto stream = [&] {
        start();
        const bool seen = sendUntilSeen(source, {.bytes = rampFrame(1024)});
        input_->stop();
        input_.reset();
        return seen && source.waitForStreaming(false);
    };
    ASSERT_TRUE(stream()); // what the library keeps for good
    const std::size_t descriptors = openDescriptors();
    const std::size_t threads = runningThreads();
    for (int round = 0; round < 100; ++round)
        ASSERT_TRUE(stream()) << round;
    // The daemon's answers to the end of a stream come later.
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    while ((openDescriptors() > descriptors || runningThreads() > threads) &&
           std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(10ms);
    EXPECT_LE(openDescriptors(), descriptors);
    EXPECT_LE(runningThreads(), threads);
}

} // namespace
} // namespace tavelo::testing
