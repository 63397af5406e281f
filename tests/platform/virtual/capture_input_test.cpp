// SPDX-License-Identifier: MIT
#include "capture_fixture.h"
#include "platform/virtual/picture/picture_instruments.h"
#include "support/recorded_device_changes.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST_F(VirtualCaptureTest, framesComeAtTheirPaceWithTimesOfTheMonotonicClock) {
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    Collector collector;
    const auto before = Clock::now();
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(12));
    input->stop();

    EXPECT_EQ(collector.width_, 320U);
    EXPECT_EQ(collector.height_, 240U);
    constexpr std::int64_t interval = 33'333'300;
    for (std::size_t i = 0; i < collector.times_.size(); ++i) {
        const MediaTime& time = collector.times_[i];
        ASSERT_TRUE(time.isValid());
        ASSERT_EQ(time.timescale, 1'000'000'000);
        EXPECT_GE(time.value, before.time_since_epoch() / 1ns);
        EXPECT_LE(time.value, collector.arrivals_[i].time_since_epoch() / 1ns) << "a frame from the future";
        if (i == 0) continue;
        const std::int64_t step = time.value - collector.times_[i - 1].value;
        EXPECT_GT(step, 0);
        EXPECT_EQ(step % interval, 0) << "whole frames only, even where some were left out";
    }
}

TEST_F(VirtualCaptureTest, noFrameComesAfterStop) {
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    Collector collector;
    for (int round = 0; round < 5; ++round) {
        input->start(collector);
        ASSERT_TRUE(collector.waitForFrames(collector.count() + 1));
        input->stop();
        const std::size_t count = collector.count();
        input->stop();
        std::this_thread::yield();
        EXPECT_EQ(collector.count(), count);
    }
}

TEST_F(VirtualCaptureTest, stopDoesNotWaitForTheNextFrame) {
    VirtualCameraModel model = virtualCameraModel(3);
    model.offers = {{StreamEncoding::yuyv, 320, 240, {4'000'000'000}}}; // one frame in 400 seconds
    bus->plug(model);
    const auto platform = makePlatform();
    Error error;
    const auto input = platform->devicesWithMediaType(MediaType::video).at(2)->makeInput(error);
    ASSERT_NE(input, nullptr);
    Collector collector;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(1));
    const auto before = Clock::now();
    input->stop();
    EXPECT_LT(Clock::now() - before, 100s);
    EXPECT_EQ(collector.count(), 1U);
}

TEST_F(VirtualCaptureTest, aFewBuffersServeTheWholeStream) {
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    Collector collector;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(12));
    input->stop();
    EXPECT_LE(collector.addresses_.size(), 2U);
}

TEST_F(VirtualCaptureTest, aSinkThatKeepsItsFramesStarvesOnlyItself) {
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    Collector collector;
    collector.hold_ = true;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(4));
    {
        const std::scoped_lock lock(collector.mutex_);
        EXPECT_EQ(collector.addresses_.size(), collector.held_.size()) << "a frame was overwritten in use";
        collector.hold_ = false;
        collector.held_.clear();
    }
    EXPECT_TRUE(collector.waitForFrames(collector.count() + 4));
    input->stop();
}

TEST_F(VirtualCaptureTest, aKnobTurnedWhileItStreamsShowsInThePicture) {
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    Collector collector;
    input->start(collector);
    ASSERT_TRUE(collector.waitUntil([&] { return collector.last_ == patchColours[0]; }));
    ASSERT_TRUE(bus->camera(1)->setControlValue(control::brightness, 32));
    EXPECT_TRUE(collector.waitUntil([&] { return collector.last_.green > patchColours[0].green + 50; }));
    input->stop();
}

TEST_F(VirtualCaptureTest, unpluggingWhileItStreamsEndsTheFramesAndTellsTheObserver) {
    const auto platform = makePlatform();
    testing::RecordedDeviceChanges changes;
    platform->addObserver(&changes);
    const auto input = makeInput(*platform);
    Collector collector;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(2));
    bus->unplug(1);
    mainQueue.drain();
    EXPECT_THAT(changes.uniqueIDs(), ElementsAre("-0x7e10000012090001"));
    input->stop();
    const std::size_t count = collector.count();
    input->start(collector);
    input->stop();
    EXPECT_EQ(collector.count(), count) << "a camera that is gone delivers nothing";
}

TEST_F(VirtualCaptureTest, anInputThatDiesWhileItStreamsStopsFirst) {
    const auto platform = makePlatform();
    auto input = makeInput(*platform);
    std::weak_ptr<PixelBuffer> frame;
    Collector collector;
    collector.hold_ = true;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(1));
    input.reset();
    frame = collector.held_.front();
    collector.held_.clear();
    EXPECT_TRUE(frame.expired()) << "a stream still holds on to its buffers";
}

// The stream that an input chooses for a format request.
struct Demand {
    std::string name;
    CaptureFormatRequest format;
    std::size_t width, height;
    std::int64_t interval;
};

class EachDemand : public VirtualCaptureTest, public ::testing::WithParamInterface<Demand> {};

TEST_P(EachDemand, getsTheNearestThatTheCameraOffers) {
    format = GetParam().format;
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    Collector collector;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(3));
    input->stop();
    EXPECT_EQ(collector.width_, GetParam().width);
    EXPECT_EQ(collector.height_, GetParam().height);
    const std::int64_t step = collector.times_[1].value - collector.times_[0].value;
    EXPECT_EQ(step % GetParam().interval, 0);
}

using Size = CaptureFormatRequest::Size;

INSTANTIATE_TEST_SUITE_P(
    Format, EachDemand,
    ::testing::Values(Demand{"nothing", {}, 1280, 720, 33'333'300},
                      Demand{"size", {Size{640, 480}, {}, {}}, 640, 480, 33'333'300},
                      Demand{"rate", {Size{320, 240}, 15.0, {}}, 320, 240, 66'666'600},
                      Demand{"uncompressed", {Size{1280, 720}, {}, "YUYV"}, 1280, 720, 100'000'000}),
    [](const auto& row) { return row.param.name; });

// The whole path, through the program's capture session.
class CountingDelegate : public SampleBufferDelegate {
public:
    void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                          const SampleBuffer& sample,
                                                          const CaptureConnection& /*connection*/) override {
        collector.consume(sample);
    }
    void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                        const SampleBuffer& /*sample*/,
                                                        const CaptureConnection& /*connection*/) override {}
    Collector collector;
};

TEST_F(VirtualCaptureTest, aSessionDeliversOnTheOutputsQueueUntilTheCameraIsPulledOut) {
    CountingDelegate delegate;
    SerialQueue queue("test.captureQueue");
    CaptureVideoDataOutput output;
    output.setVideoSettings({PixelFormat::bgra32});
    output.setSampleBufferDelegate(&delegate, &queue);
    const auto platform = makePlatform();
    const auto input = makeInput(*platform);
    const auto session = platform->makeSession();
    ASSERT_TRUE(session->canAddOutput(output));
    session->addOutput(output);
    ASSERT_TRUE(session->canAddInput(*input));
    session->addInput(*input);
    session->startRunning();
    EXPECT_TRUE(delegate.collector.waitForFrames(3));
    bus->unplug(1);
    session->stopRunning();
    session->removeInput(*input);
    queue.sync([] {});
    EXPECT_FALSE(session->isRunning());
}

} // namespace
} // namespace tavelo
