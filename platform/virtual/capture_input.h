// SPDX-License-Identifier: MIT
// An input that streams a virtual camera's pictures inside the program.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/capture.h"
#include "platform/common/pixel_buffer_pool.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "platform/virtual/picture/virtual_picture.h"

namespace tavelo {

/// Size and frame rate of a stream.
struct VirtualStream {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::chrono::nanoseconds interval{0};
};

/// Draws one frame per interval on its own thread; skips frames that are late, so that the picture never
/// lags.  Ends by itself once the camera has vanished.
class VirtualCaptureInput final : public CaptureDeviceInput {
public:
    VirtualCaptureInput(std::shared_ptr<CaptureDevice> device,
                        std::shared_ptr<VirtualCameraFirmware> firmware, const VirtualStream& stream);
    ~VirtualCaptureInput() override;

    VirtualCaptureInput(const VirtualCaptureInput&) = delete;
    VirtualCaptureInput& operator=(const VirtualCaptureInput&) = delete;

    std::shared_ptr<CaptureDevice> device() const override { return device_; }
    void start(FrameSink& sink) override;
    void stop() override;

private:
    void run(FrameSink& sink);
    void deliver(FrameSink& sink, std::uint64_t frame, std::chrono::steady_clock::time_point time);

    const std::shared_ptr<CaptureDevice> device_;
    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const VirtualStream stream_;

    std::mutex mutex_; // guards stopping_
    std::condition_variable wake_;
    bool stopping_ = false;

    // Used by the stream's thread only.
    PixelBufferPool pool_;
    VirtualPicture picture_;

    std::thread thread_;
};

} // namespace tavelo
