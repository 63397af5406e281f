// SPDX-License-Identifier: MIT
// A camera that delivers pictures as fast as they are consumed, on its own thread, through a real session.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/capture.h"
#include "platform/common/standard_capture_session.h"
#include "test_picture.h"

namespace tavelo::testing {

/// Changes the size of its pictures from time to time.
class PouringInput final : public CaptureDeviceInput {
public:
    explicit PouringInput(std::shared_ptr<CaptureDevice> device) : device_(std::move(device)) {}
    ~PouringInput() override { stop(); }

    PouringInput(const PouringInput&) = delete;
    PouringInput& operator=(const PouringInput&) = delete;

    std::shared_ptr<CaptureDevice> device() const override { return device_; }

    void start(FrameSink& sink) override {
        running_ = true;
        thread_ = std::thread([this, &sink] { pour(sink); });
    }
    void stop() override {
        running_ = false;
        if (thread_.joinable()) thread_.join();
    }

private:
    void pour(FrameSink& sink) {
        constexpr std::int64_t picturesOfOneSize = 50;
        const std::array pictures{makeTestPicture(64, 48), makeTestPicture(61, 37)};
        for (std::int64_t i = 0; running_; ++i) {
            const auto& picture = pictures[std::size_t(i / picturesOfOneSize) % pictures.size()];
            sink.consume({picture, MediaTime::fromNanoseconds(std::chrono::nanoseconds(i + 1))});
            std::this_thread::yield();
        }
    }

    std::shared_ptr<CaptureDevice> device_;
    std::atomic<bool> running_ = false;
    std::thread thread_;
};

class PouringDevice final : public CaptureDevice, public std::enable_shared_from_this<PouringDevice> {
public:
    explicit PouringDevice(std::string uniqueID) : uniqueID_(std::move(uniqueID)) {}

    const std::string& uniqueID() const override { return uniqueID_; }
    const std::string& localizedName() const override { return uniqueID_; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error&) override {
        return std::make_unique<PouringInput>(shared_from_this());
    }

private:
    std::string uniqueID_;
};

class PouringPlatform final : public CapturePlatform {
public:
    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType) override { return {}; }
    std::unique_ptr<CaptureSession> makeSession() override { return makeStandardCaptureSession(); }
    void addObserver(CaptureDeviceObserver*) override {}
    void removeObserver(CaptureDeviceObserver*) override {}
};

} // namespace tavelo::testing
