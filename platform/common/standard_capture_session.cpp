// SPDX-License-Identifier: MIT
#include "platform/common/standard_capture_session.h"

#include <atomic>
#include <mutex>

#include "platform/common/frame_delivery.h"

namespace tavelo {
namespace {

class StandardCaptureSession final : public CaptureSession {
public:
    ~StandardCaptureSession() override { stopRunning(); }

    bool canAddOutput(const CaptureVideoDataOutput& output) const override {
        const std::lock_guard lock(control_);
        return addable(output);
    }

    void addOutput(CaptureVideoDataOutput& output) override {
        const std::lock_guard lock(control_);
        if (!addable(output)) return;
        output_ = &output;
        if (running_) openDelivery();
    }

    bool canAddInput(const CaptureDeviceInput& /*input*/) const override {
        const std::lock_guard lock(control_);
        return input_ == nullptr;
    }

    void addInput(CaptureDeviceInput& input) override {
        const std::lock_guard lock(control_);
        if (input_ == nullptr) input_ = &input;
    }

    void removeInput(CaptureDeviceInput& input) override {
        const std::lock_guard lock(control_);
        if (input_ != &input) return;
        stop();
        input_ = nullptr;
    }

    void startRunning() override {
        const std::lock_guard lock(control_);
        if (running_ || input_ == nullptr) return;
        openDelivery();
        input_->start(*delivery_);
        running_ = true;
    }

    void stopRunning() override {
        const std::lock_guard lock(control_);
        stop();
    }

    bool isRunning() const override { return running_; }

private:
    bool addable(const CaptureVideoDataOutput& output) const {
        return output_ == nullptr &&
               output.videoSettings().pixelFormat.value_or(PixelFormat::bgra32) == PixelFormat::bgra32;
    }

    void openDelivery() { delivery_->open({input_, output_}, output_); }

    void stop() {
        if (!running_) return;
        delivery_->close();
        input_->stop();
        running_ = false;
    }

    mutable std::mutex control_; // guards input_ and output_; held during a start or stop
    CaptureDeviceInput* input_ = nullptr;
    CaptureVideoDataOutput* output_ = nullptr;
    std::atomic<bool> running_ = false; // written under control_
    const std::shared_ptr<FrameDelivery> delivery_ = std::make_shared<FrameDelivery>();
};

} // namespace

std::unique_ptr<CaptureSession> makeStandardCaptureSession() {
    return std::make_unique<StandardCaptureSession>();
}

} // namespace tavelo
