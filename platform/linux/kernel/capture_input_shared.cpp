// SPDX-License-Identifier: MIT
// A camera's picture from PipeWire.
#include <poll.h>

#include <algorithm>

#include "platform/linux/kernel/capture_input.h"

namespace tavelo {
namespace {

using State = SharedCamera::State;

/// A taken frame, given back whatever happens.
class TakenFrame {
public:
    explicit TakenFrame(SharedCamera& camera) : camera_(camera) {}
    ~TakenFrame() { camera_.giveBack(); }
    TakenFrame(const TakenFrame&) = delete;
    TakenFrame& operator=(const TakenFrame&) = delete;

private:
    SharedCamera& camera_;
};

/// Clocks of sources may be others than ours, or jump.
std::chrono::nanoseconds timeOf(const SharedCamera::Frame& frame) {
    const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
    return frame.time && std::chrono::abs(*frame.time - now) <= std::chrono::seconds(1) ? *frame.time : now;
}

} // namespace

/// @return nothing if the driver is to be asked
std::optional<StreamOver> KernelCaptureInput::streamFromPipewire() {
    if (!pictures_.open) return std::nullopt;
    if (!shared_) shared_ = pictures_.open();
    if (!shared_) {
        if (pictures_.only) return StreamOver{StreamEnd::failed, "there is no PipeWire"};
        return std::nullopt;
    }
    const auto deadline = [this] {
        return pictures_.only ? firstDeadline() : Clock::now() + pictures_.linkTime;
    };
    const State offered = waitForOffer(deadline());
    if (stop_.isSet()) return StreamOver();
    if (offered != State::offered) return leavePipewire(StreamEnd::failed, "it does not have the camera");
    const std::uint64_t offer = shared_->offer();
    if (offer == failedOffer_ && !pictures_.only) return std::nullopt;
    sharedFramesCame_ = false;
    shared_->start(options().request);
    const State linked = waitWhile(State::starting, deadline());
    StreamOver over{StreamEnd::failed, "the stream was not linked with the camera"};
    if (linked == State::streaming) over = pumpShared();
    if (linked == State::ended) over.reason = shared_->why();
    shared_->stop();
    if (over.end == StreamEnd::stopped || stop_.isSet()) return StreamOver();
    // A stream that ran is begun again like the driver's; one that never ran would not.
    if (sharedFramesCame_ && shared_->offer() == offer) return over;
    failedOffer_ = offer;
    return leavePipewire(over.end, over.reason);
}

/// Says why, once; what happens in the stream's life is another reason each time.
std::optional<StreamOver> KernelCaptureInput::leavePipewire(StreamEnd end, const std::string& why) {
    if (pictures_.only) return StreamOver{end, "PipeWire: " + why};
    if (why != saidOfPipewire_)
        options().diagnostics.report(path_, "PipeWire: " + why + "; using the driver");
    saidOfPipewire_ = why;
    return std::nullopt;
}

/// @return false if the input is to stop, or nothing came in time
bool KernelCaptureInput::waitForShared(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd waiting[] = {{stop_.descriptor(), POLLIN, 0}, {shared_->descriptor(), POLLIN, 0}};
    const int ready = ::poll(waiting, 2, int(std::max<std::int64_t>(left.count(), 0)));
    return ready != 0 && waiting[0].revents == 0;
}

State KernelCaptureInput::waitWhile(State state, Clock::time_point deadline) {
    State now = shared_->look();
    while (now == state && waitForShared(deadline))
        now = shared_->look();
    return now;
}

State KernelCaptureInput::waitForOffer(Clock::time_point deadline) {
    State now = waitWhile(State::unknown, deadline);
    // The driver must not show what the user does not allow.
    while (now == State::refused && !stop_.isSet()) {
        waitForShared(Clock::now() + options().patience.silence);
        now = waitWhile(State::unknown, Clock::now() + pictures_.linkTime);
    }
    // Nobody else has the picture then.
    while (pictures_.only && now != State::offered && waitForShared(deadline))
        now = shared_->look();
    return now;
}

StreamOver KernelCaptureInput::pumpShared() {
    sharedFormat_ = {};
    saidOfPipewire_.clear();
    auto deadline = firstDeadline();
    for (;;) {
        if (!waitForShared(deadline)) {
            if (stop_.isSet()) return {};
            if (Clock::now() >= deadline) return {StreamEnd::silent, "no frame came"};
            continue;
        }
        if (shared_->look() != State::streaming) return {StreamEnd::failed, shared_->why()};
        SharedCamera::Frame frame;
        if (!shared_->take(frame)) continue;
        const TakenFrame taken(*shared_);
        if (frame.damaged) {
            countDamaged();
            continue;
        }
        deadline = frameCame();
        sharedFramesCame_ = true;
        if (!deliverShared(frame)) return {StreamEnd::failed, "the format cannot be shown"};
    }
}

/// @return false if it is of no format that we can show
bool KernelCaptureInput::deliverShared(const SharedCamera::Frame& frame) {
    if (frame.format != sharedFormat_) {
        if (!converter_.setFormat(frame.format)) return false;
        sharedFormat_ = frame.format;
    }
    deliver(converter_.convert(frame.bytes, demand()), timeOf(frame));
    return true;
}

/// PipeWire offers the camera anew, or the user no longer allows it.
bool KernelCaptureInput::mustLeaveDriver() {
    const State now = shared_->look();
    return now == State::refused || (now == State::offered && shared_->offer() != failedOffer_);
}

} // namespace tavelo
