// SPDX-License-Identifier: MIT
#include "platform/backends/backends.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "support/manual_main_queue.h"
#include "support/recorded_diagnostics.h"

namespace tavelo {
namespace {

class FirstFrames final : public SampleBufferDelegate {
public:
    void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                          const SampleBuffer& sample,
                                                          const CaptureConnection& /*connection*/) override {
        const std::lock_guard lock(mutex_);
        last_ = sample;
        ++count_;
        came_.notify_all();
    }
    void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                        const SampleBuffer& /*sample*/,
                                                        const CaptureConnection& /*connection*/) override {}

    bool waitFor(int count) {
        std::unique_lock lock(mutex_);
        return came_.wait_for(lock, std::chrono::seconds(20), [&] { return count_ >= count; });
    }
    SampleBuffer last() {
        const std::lock_guard lock(mutex_);
        return last_;
    }

private:
    std::mutex mutex_; // guards the rest
    std::condition_variable came_;
    SampleBuffer last_;
    int count_ = 0;
};

class BackendsTest : public ::testing::Test {
protected:
    testing::ManualMainQueue mainQueue;
    testing::RecordedDiagnostics diagnostics;
};

TEST_F(BackendsTest, ListEachVirtualCameraInBothHalves) {
    const Backend cameras = makeCameras({.virtualCameras = 3}, mainQueue, diagnostics);
    const auto prober = cameras.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    EXPECT_EQ(prober->devicesArray().size(), 3U);
    std::set<std::uint32_t> locations;
    for (const auto& device : prober->devicesArray())
        locations.insert(device->locationID);
    const auto devices = cameras.capture->devicesWithMediaType(MediaType::video);
    ASSERT_EQ(devices.size(), 3U);
    for (const auto& camera : devices) {
        const std::string location = camera->uniqueID().substr(0, 10);
        EXPECT_TRUE(locations.contains(std::uint32_t(std::strtoul(location.c_str(), nullptr, 16))))
            << location;
    }
}

TEST_F(BackendsTest, AVirtualCameraStreamsThroughTheSession) {
    SerialQueue queue("kt.captureQueue");
    FirstFrames frames;
    CaptureVideoDataOutput output;
    output.setVideoSettings({PixelFormat::bgra32});
    output.setSampleBufferDelegate(&frames, &queue);
    const Backend cameras = makeCameras({.virtualCameras = 1}, mainQueue, diagnostics);
    const auto camera = cameras.capture->devicesWithMediaType(MediaType::video).front();
    Error error;
    const auto input = camera->makeInput(error);
    ASSERT_TRUE(input) << error.text;
    const auto session = cameras.capture->makeSession();
    session->addOutput(output);
    session->addInput(*input);
    session->startRunning();
    EXPECT_TRUE(frames.waitFor(3));
    session->stopRunning();
    queue.sync([] {});
    const SampleBuffer sample = frames.last();
    ASSERT_TRUE(sample.imageBuffer);
    EXPECT_EQ(sample.imageBuffer->format(), PixelFormat::bgra32);
    EXPECT_TRUE(sample.presentationTimeStamp.isValid());
}

// Runs on this machine's real devices: every USB camera listed by the capture half must be known to the
// other half.
class TheMachinesOwnHalves : public BackendsTest, public ::testing::WithParamInterface<CameraTransport> {};

TEST_P(TheMachinesOwnHalves, Agree) {
    CameraOptions options;
    options.transport = GetParam();
    const Backend cameras = makeCameras(options, mainQueue, diagnostics);
    const auto prober = cameras.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    std::set<std::uint32_t> locations;
    for (const auto& device : prober->devicesArray())
        locations.insert(device->locationID);
    for (const auto& camera : cameras.capture->devicesWithMediaType(MediaType::video)) {
        if (!camera->uniqueID().starts_with("0x")) continue;
        const std::string location = camera->uniqueID().substr(0, 10);
        EXPECT_TRUE(locations.contains(std::uint32_t(std::strtoul(location.c_str(), nullptr, 16))))
            << location;
    }
    EXPECT_TRUE(cameras.capture->makeSession());
}

TEST_F(BackendsTest, WithoutTheTransportThatWasAskedForTheKernelsIsUsed) {
    CameraOptions options;
    options.transport = static_cast<CameraTransport>(255);
    const Backend cameras = makeCameras(options, mainQueue, diagnostics);
    EXPECT_NE(cameras.usb, nullptr);
    EXPECT_NE(cameras.capture, nullptr);
}

TEST(CameraTransports, EachHasItsOwnNameAndMeaning) {
    std::map<std::string, CameraTransport> names;
    for (const TransportDescription& row : cameraTransports()) {
        EXPECT_TRUE(names.emplace(row.name, row.transport).second) << row.name;
        EXPECT_FALSE(row.meaning.empty()) << row.name;
    }
    EXPECT_EQ(names, (std::map<std::string, CameraTransport>{{"kernel", CameraTransport::kernel},
                                                             {"usb", CameraTransport::usb}}));
}

INSTANTIATE_TEST_SUITE_P(Both, TheMachinesOwnHalves,
                         ::testing::Values(CameraTransport::kernel, CameraTransport::usb));

} // namespace
} // namespace tavelo
