// SPDX-License-Identifier: MIT
#include "virtual-camera/uvc_stream.h"

#include <algorithm>
#include <ratio>
#include <utility>

#include "platform/virtual/firmware/virtual_camera_descriptors.h"

namespace tavelo {
namespace {

using HundredNanoseconds = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

constexpr std::int64_t clockTicks(std::int64_t nanoseconds) {
    return nanoseconds * (streamClockFrequency / 1'000'000) / 1000;
}

} // namespace

UvcStream::UvcStream(const StreamFormat& format, StreamTransport transport, FrameSource source)
    : interval_(HundredNanoseconds(std::max<std::uint32_t>(format.frameInterval, 1))),
      source_(std::move(source)),
      packetizer_(transport, format.maxPayload),
      thread_([this] { run(); }) {}

UvcStream::~UvcStream() {
    {
        const std::scoped_lock lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

std::optional<std::size_t> UvcStream::packet(std::span<std::uint8_t> room) {
    const std::scoped_lock lock(mutex_);
    if (packetizer_.finished()) {
        if (!hasReady_) return std::nullopt;
        std::swap(sending_, ready_);
        hasReady_ = false;
        wake_.notify_all();
        packetizer_.begin(sending_.bytes, sending_.time);
    }
    return packetizer_.packet(room);
}

void UvcStream::run() {
    std::uint64_t number = 0;
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        const Clock::time_point due = start_ + interval_ * number;
        if (hasReady_) {
            wake_.wait(lock);
            continue;
        }
        if (wake_.wait_until(lock, due, [this] { return stopping_; })) break;
        const Clock::time_point now = Clock::now();
        number = std::max<std::uint64_t>(number, static_cast<std::uint64_t>((now - start_) / interval_));
        lock.unlock();
        source_(number, making_.bytes);
        making_.time = static_cast<std::uint32_t>(clockTicks((now - start_).count()));
        lock.lock();
        ++number;
        if (making_.bytes.empty()) continue;
        std::swap(making_, ready_);
        hasReady_ = true;
    }
}

} // namespace tavelo
