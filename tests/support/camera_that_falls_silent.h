// SPDX-License-Identifier: MIT
// A camera that delivers some pictures and then no more, without an error.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/capture.h"
#include "platform/common/standard_capture_session.h"
#include "platform/pixel_buffer.h"

namespace tavelo::testing {

class CameraThatFallsSilent final : public CaptureDevice,
                                    public std::enable_shared_from_this<CameraThatFallsSilent> {
public:
    static constexpr std::chrono::milliseconds interval{25};

    /// @param pictures how many it delivers, one each interval
    explicit CameraThatFallsSilent(int pictures) : pictures_(pictures) {}

    const std::string& uniqueID() const override { return uniqueID_; }
    const std::string& localizedName() const override { return uniqueID_; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& /*error*/) override {
        return std::make_unique<Input>(shared_from_this());
    }

    int delivered() const { return delivered_; }

private:
    class Input final : public CaptureDeviceInput {
    public:
        explicit Input(std::shared_ptr<CameraThatFallsSilent> camera) : camera_(std::move(camera)) {}

        std::shared_ptr<CaptureDevice> device() const override { return camera_; }
        void start(FrameSink& sink) override {
            thread_ = std::jthread([camera = camera_, &sink](const std::stop_token& asked) {
                const auto picture = PixelBuffer::create(PixelFormat::bgra32, 64, 48);
                while (!asked.stop_requested() && camera->delivered_ < camera->pictures_) {
                    const MediaTime time = MediaTime::fromNanoseconds(++camera->delivered_ * interval);
                    sink.consume({picture, time});
                    std::this_thread::sleep_for(interval);
                }
            });
        }
        void stop() override { thread_ = {}; }

    private:
        const std::shared_ptr<CameraThatFallsSilent> camera_;
        std::jthread thread_;
    };

    const std::string uniqueID_ = "0x0000000100000000";
    const int pictures_;
    std::atomic<int> delivered_ = 0;
};

/// Has this camera alone.
class PlatformOfOneCamera final : public CapturePlatform {
public:
    explicit PlatformOfOneCamera(std::shared_ptr<CaptureDevice> camera) : camera_(std::move(camera)) {}

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType /*type*/) override {
        return {camera_};
    }
    std::unique_ptr<CaptureSession> makeSession() override { return makeStandardCaptureSession(); }
    void addObserver(CaptureDeviceObserver* /*observer*/) override {}
    void removeObserver(CaptureDeviceObserver* /*observer*/) override {}

private:
    const std::shared_ptr<CaptureDevice> camera_;
};

} // namespace tavelo::testing
