// SPDX-License-Identifier: MIT
#include "platform/virtual/capture_input.h"

#include <algorithm>
#include <utility>

namespace tavelo {

using Clock = std::chrono::steady_clock;

VirtualCaptureInput::VirtualCaptureInput(std::shared_ptr<CaptureDevice> device,
                                         std::shared_ptr<VirtualCameraFirmware> firmware,
                                         const VirtualStream& stream)
    : device_(std::move(device)),
      firmware_(std::move(firmware)),
      stream_(stream),
      picture_(firmware_->model().number) {}

VirtualCaptureInput::~VirtualCaptureInput() {
    stop();
}

void VirtualCaptureInput::start(FrameSink& sink) {
    if (thread_.joinable()) return;
    stopping_ = false;
    thread_ = std::thread([this, &sink] { run(sink); });
}

void VirtualCaptureInput::stop() {
    if (!thread_.joinable()) return;
    {
        const std::scoped_lock lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void VirtualCaptureInput::run(FrameSink& sink) {
    const Clock::time_point start = Clock::now();
    std::uint64_t frame = 0;
    const auto timeOf = [&](std::uint64_t number) {
        return start + stream_.interval * static_cast<std::int64_t>(number);
    };
    while (firmware_->present()) {
        {
            std::unique_lock lock(mutex_);
            if (wake_.wait_until(lock, timeOf(frame), [this] { return stopping_; })) return;
        }
        deliver(sink, frame, timeOf(frame));
        const auto passed = static_cast<std::uint64_t>((Clock::now() - start) / stream_.interval);
        frame = std::max(frame + 1, passed);
    }
}

void VirtualCaptureInput::deliver(FrameSink& sink, std::uint64_t frame, Clock::time_point time) {
    const auto buffer = pool_.take(PixelFormat::bgra32, stream_.width, stream_.height);
    if (buffer == nullptr) return; // all pictures are still in use
    {
        const auto lock = buffer->lock();
        picture_.draw(frame, firmware_->pictureSettings(), buffer->baseAddress(), buffer->width(),
                      buffer->height(), buffer->bytesPerRow());
    }
    sink.consume({buffer, MediaTime::fromNanoseconds(time.time_since_epoch())});
}

} // namespace tavelo
