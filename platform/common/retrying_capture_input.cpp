// SPDX-License-Identifier: MIT
#include "platform/common/retrying_capture_input.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

namespace tavelo {

RetryingCaptureInput::RetryingCaptureInput(std::shared_ptr<CaptureDevice> device, std::string name,
                                           const char* threadName, CaptureInputOptions options)
    : device_(std::move(device)),
      name_(std::move(name)),
      threadName_(threadName),
      options_(std::move(options)),
      policy_(options_.patience) {}

void RetryingCaptureInput::start(FrameSink& sink) {
    if (thread_.joinable()) return;
    setStop(false);
    trouble_.clear();
    policy_ = StreamRetryPolicy(options_.patience);
    sink_ = &sink;
    thread_ = std::thread([this] {
        pthread_setname_np(pthread_self(), threadName_);
        if (options_.priority) options_.priority->raise();
        run();
        release();
    });
}

void RetryingCaptureInput::stop() {
    if (!thread_.joinable()) return;
    setStop(true);
    thread_.join();
}

void RetryingCaptureInput::run() {
    for (;;) {
        const StreamOver over = streamOnce();
        if (isUnplugged(over.end)) return;
        const auto decision = policy_.after(over.end);
        if (decision.report) report(over);
        if (!decision.wait || waitForStop(*decision.wait)) return;
        if (isUnplugged(over.end)) return; // another camera may have its place by now
    }
}

// A camera that is unplugged while its stream starts reports no more than a timeout.
bool RetryingCaptureInput::isUnplugged(StreamEnd end) const {
    return options_.isListed ? !options_.isListed() : end == StreamEnd::gone;
}

RetryingCaptureInput::Clock::time_point RetryingCaptureInput::frameCame() {
    policy_.frameCame();
    trouble_.clear();
    return Clock::now() + options_.patience.silence;
}

void RetryingCaptureInput::deliver(SampleBuffer pictures, std::chrono::nanoseconds time) {
    if (!pictures.mediaType()) {
        countDamaged();
        return;
    }
    damagedInARow_ = 0;
    lastTime_ = std::max(time, lastTime_ + std::chrono::nanoseconds(1));
    pictures.presentationTimeStamp = MediaTime::fromNanoseconds(lastTime_);
    sink_->consume(pictures);
}

void RetryingCaptureInput::countDamaged() {
    if (++damagedInARow_ == damagedFramesWorthALine)
        options_.diagnostics.report(name_, "streaming: every frame of the last second was damaged");
}

void RetryingCaptureInput::report(StreamOver over) {
    if (over.end == StreamEnd::busy) over.reason = options_.whoHolds();
    trouble_.set({errorCodeOf(over.end), over.reason});
    options_.diagnostics.report(name_, streamEndText(over.end, over.reason));
}

} // namespace tavelo
