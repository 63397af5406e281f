// SPDX-License-Identifier: MIT
// A virtual bus with two cameras, a capture platform on it, and a recorder of frames.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform/virtual/device_list.h"
#include "platform/virtual/picture/picture_raster.h"
#include "platform/virtual/virtual_bus.h"
#include "support/manual_main_queue.h"

namespace tavelo {

// Records facts about each frame, and the frames themselves if hold_ is set.
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
        arrivals_.push_back(std::chrono::steady_clock::now());
        addresses_.insert(first);
        if (hold_) held_.push_back(sample.imageBuffer);
        changed_.notify_all();
    }

    template <typename Condition>
    bool waitUntil(Condition&& condition) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(60), condition);
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
    std::vector<std::chrono::steady_clock::time_point> arrivals_;
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
    testing::ManualMainQueue mainQueue;
    CaptureFormatRequest format;
};

} // namespace tavelo
