// SPDX-License-Identifier: MIT
#include "bench/peers/camera/camera_client.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "bench/peers/link/link_socket.h"

namespace tavelo::bench {
namespace {

FrameClock::duration frameTime(const CameraMode& mode) {
    return FrameClock::duration(std::chrono::seconds(1)) / mode.framesPerSecond;
}

Greeting greetingWith(std::span<const PreparedFrames> modes) {
    Greeting greeting;
    for (const PreparedFrames& prepared : modes.first(std::min(modes.size(), mostModes)))
        greeting.modes[greeting.modeCount++] = prepared.mode();
    return greeting;
}

} // namespace

CameraClient::CameraClient(FileDescriptor link, std::span<const PreparedFrames> modes)
    : link_(std::move(link)),
      modes_(modes) {
    LinkEnds ends = makeLink();
    frames_ = std::move(ends.camera);
    sendMessage(link_.get(), greetingWith(modes_), ends.program.get(), MSG_DONTWAIT);
}

bool CameraClient::serve(bool isTaken) {
    Request request;
    if (!receiveMessage(link_.get(), request, nullptr, MSG_DONTWAIT)) return false;
    answer(request, isTaken);
    return true;
}

void CameraClient::answer(const Request& request, bool isTaken) {
    Answer answer;
    int file = -1;
    switch (request.kind) {
        case RequestKind::queue:
            if (request.index < buffers_.count()) queued_.push_back(request.index);
            return;
        case RequestKind::allocate:
            answer.error = allocate(request, isTaken);
            answer.bufferBytes = buffers_.bytesEach();
            break;
        case RequestKind::lend:
            if (request.index < buffers_.count())
                file = buffers_.file(request.index);
            else
                answer.error = EINVAL;
            break;
        case RequestKind::start:
            answer.error = start();
            break;
        case RequestKind::stop:
            streaming_ = false;
            queued_.clear();
            break;
    }
    sendMessage(link_.get(), answer, file, MSG_DONTWAIT);
}

std::int32_t CameraClient::allocate(const Request& request, bool isTaken) {
    if (isTaken || streaming_) return EBUSY;
    if (request.mode >= modes_.size() || request.count > mostBuffers) return EINVAL;
    queued_.clear();
    mode_ = &modes_[request.mode];
    buffers_ = {};
    if (request.count == 0) return 0;
    buffers_ = SharedBuffers(request.count, mode_->mode().largestFrame);
    return buffers_.count() > 0 ? 0 : ENOMEM;
}

std::int32_t CameraClient::start() {
    if (!hasBuffers()) return EINVAL;
    if (streaming_) return 0;
    streaming_ = true;
    sequence_ = 0;
    nextFrame_ = FrameClock::now() + frameTime(mode_->mode());
    return 0;
}

void CameraClient::deliverFrame() {
    const std::uint32_t sequence = sequence_++;
    nextFrame_ += frameTime(mode_->mode());
    if (queued_.empty()) return;
    const std::uint32_t index = queued_.front();
    queued_.pop_front();
    const auto frame = mode_->frame(sequence);
    std::ranges::copy(frame, buffers_.buffer(index).begin());
    const std::chrono::nanoseconds now = FrameClock::now().time_since_epoch();
    sendMessage(frames_.get(), FrameReady{index, std::uint32_t(frame.size()), sequence, now.count()}, -1,
                MSG_DONTWAIT);
}

} // namespace tavelo::bench
