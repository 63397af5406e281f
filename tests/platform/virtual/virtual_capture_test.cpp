// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <vector>

#include <gmock/gmock.h>

#include "manual_main_queue.h"
#include "platform/virtual/picture_instruments.h"
#include "platform/virtual/virtual_bus.h"
#include "platform/virtual/virtual_capture_platform.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Keeps what a frame tells, and the frame itself only where a test wants it.
class Collector : public FrameSink {
public:
    void consume(const SampleBuffer& sample) override {
        const auto pixels = sample.imageBuffer->lock();
        const std::scoped_lock lock(mutex_);
        const std::uint8_t* first = sample.imageBuffer->baseAddress();
        last_ = {first[0], first[1], first[2], first[3]};
        width_ = sample.imageBuffer->width();
        height_ = sample.imageBuffer->height();
        times_.push_back(sample.presentationTimeStamp);
        arrivals_.push_back(Clock::now());
        addresses_.insert(first);
        if (hold_) held_.push_back(sample.imageBuffer);
        changed_.notify_all();
    }

    template <typename Condition>
    bool waitUntil(Condition&& condition) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 60s, condition);
    }
    bool waitForFrames(std::size_t count) {
        return waitUntil([this, count] { return times_.size() >= count; });
    }
    std::size_t count() {
        const std::scoped_lock lock(mutex_);
        return times_.size();
    }

    // Read after the stream has stopped, or in a condition.
    std::mutex mutex_;
    std::condition_variable changed_;
    Pixel last_;
    std::size_t width_ = 0;
    std::size_t height_ = 0;
    std::vector<MediaTime> times_;
    std::vector<Clock::time_point> arrivals_;
    std::set<const std::uint8_t*> addresses_;
    std::vector<std::shared_ptr<PixelBuffer>> held_;
    bool hold_ = false;
};

class VirtualCaptureTest : public ::testing::Test {
protected:
    VirtualCaptureTest() {
        bus->plug(virtualCameraModel(1));
        bus->plug(virtualCameraModel(2));
        format.size = {320, 240};
    }

    std::unique_ptr<VirtualCapturePlatform> makePlatform() {
        return std::make_unique<VirtualCapturePlatform>(bus, mainQueue, format);
    }
    std::unique_ptr<CaptureDeviceInput> makeInput(CapturePlatform& platform) {
        Error error;
        auto input = platform.devicesWithMediaType(MediaType::video).at(0)->makeInput(error);
        EXPECT_EQ(error.code, ErrorCode::none);
        return input;
    }

    std::shared_ptr<VirtualBus> bus = std::make_shared<VirtualBus>();
    ManualMainQueue mainQueue;
    CaptureFormatRequest format;
};

TEST_F(VirtualCaptureTest, devicesCarryLocationVendorAndProduct) {
    const auto platform = makePlatform();
    const auto devices = platform->devicesWithMediaType(MediaType::video);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0]->uniqueID(), "0x7e10000012090001");
    EXPECT_EQ(devices[1]->uniqueID(), "0x7e20000012090001");
    EXPECT_EQ(devices[0]->localizedName(), "Tavelo Virtual Camera 1");
    EXPECT_TRUE(devices[0]->hasMediaType(MediaType::video));
    EXPECT_FALSE(devices[0]->hasMediaType(MediaType::audio));
    EXPECT_TRUE(platform->devicesWithMediaType(MediaType::audio).empty());
}

TEST_F(VirtualCaptureTest, theSameDeviceIsTheSameObject) {
    const auto platform = makePlatform();
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video),
              platform->devicesWithMediaType(MediaType::video));
}

class Observer : public CaptureDeviceObserver {
public:
    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override {
        events.push_back("+" + device->uniqueID());
    }
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override {
        events.push_back("-" + device->uniqueID());
    }
    std::vector<std::string> events;
};

TEST_F(VirtualCaptureTest, observersHearOfArrivalAndRemovalOnTheMainQueue) {
    const auto platform = makePlatform();
    Observer observer;
    platform->addObserver(&observer);
    mainQueue.drain();
    EXPECT_TRUE(observer.events.empty());

    bus->plug(virtualCameraModel(3));
    EXPECT_TRUE(observer.events.empty());
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video).size(), 2U);
    mainQueue.drain();
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video).size(), 3U);
    bus->unplug(1);
    mainQueue.drain();
    EXPECT_THAT(observer.events, ElementsAre("+0x7e30000012090001", "-0x7e10000012090001"));
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video).size(), 2U);

    platform->removeObserver(&observer);
    bus->unplug(2);
    mainQueue.drain();
    EXPECT_EQ(observer.events.size(), 2U);
}

TEST_F(VirtualCaptureTest, aCameraOutAndInAgainIsANewDevice) {
    const auto platform = makePlatform();
    Observer observer;
    platform->addObserver(&observer);
    const auto before = platform->devicesWithMediaType(MediaType::video)[0];
    bus->unplug(1);
    bus->plug(virtualCameraModel(1));
    mainQueue.drain();
    EXPECT_THAT(observer.events, ElementsAre("-0x7e10000012090001", "+0x7e10000012090001"));
    EXPECT_NE(platform->devicesWithMediaType(MediaType::video)[1], before);
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video)[1]->uniqueID(), before->uniqueID());
}

TEST_F(VirtualCaptureTest, changesThatArriveAfterThePlatformIsGoneAreNobodys) {
    auto platform = makePlatform();
    Observer observer;
    platform->addObserver(&observer);
    bus->unplug(1);
    platform.reset();
    mainQueue.drain();
    bus->unplug(2);
    mainQueue.drain();
    EXPECT_TRUE(observer.events.empty());
}

TEST_F(VirtualCaptureTest, anUnpluggedDeviceCannotBeOpened) {
    const auto platform = makePlatform();
    const auto device = platform->devicesWithMediaType(MediaType::video)[0];
    bus->unplug(1);
    Error error;
    EXPECT_EQ(device->makeInput(error), nullptr);
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_FALSE(error.text.empty());
}

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
    Observer observer;
    platform->addObserver(&observer);
    const auto input = makeInput(*platform);
    Collector collector;
    input->start(collector);
    ASSERT_TRUE(collector.waitForFrames(2));
    bus->unplug(1);
    mainQueue.drain();
    EXPECT_THAT(observer.events, ElementsAre("-0x7e10000012090001"));
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

// Which stream an input makes of a demand.
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

// The whole way, through the session that the program uses.
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
