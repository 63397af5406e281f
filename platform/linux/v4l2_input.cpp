// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2_input.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/linux/v4l2_formats.h"

namespace tavelo {
namespace {

using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC, as the driver's stamps

enum class Woken { frame, stop, silence, trouble };

// Waits for a frame, for the stop, or until `deadline`.
Woken waitForFrame(int node, int stop, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return Woken::silence;
    pollfd waiting[] = {{stop, POLLIN, 0}, {node, POLLIN, 0}};
    if (::poll(waiting, 2, int(left.count())) < 0) return errno == EINTR ? Woken::frame : Woken::trouble;
    if (waiting[0].revents != 0) return Woken::stop;
    if ((waiting[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return Woken::trouble;
    return Woken::frame; // or nothing yet, which taking it tells
}

} // namespace

V4l2Input::V4l2Input(std::shared_ptr<CaptureDevice> device, V4l2InputSetup setup)
    : device_(std::move(device)),
      setup_(std::move(setup)),
      policy_(setup_.patience) {}

V4l2Input::~V4l2Input() {
    stop();
}

void V4l2Input::start(FrameSink& sink) {
    if (thread_.joinable()) return;
    stop_.clear();
    policy_ = StreamRetryPolicy(setup_.patience);
    thread_ = std::thread([this, &sink] {
        pthread_setname_np(pthread_self(), "v4l2 capture");
        run(sink);
    });
}

void V4l2Input::stop() {
    if (!thread_.joinable()) return;
    stop_.set();
    thread_.join();
}

void V4l2Input::run(FrameSink& sink) {
    for (;;) {
        const Run over = streamOnce(sink);
        const auto decision = policy_.after(over.end);
        if (decision.report) report(over);
        if (!decision.wait || stop_.waitFor(*decision.wait)) return;
    }
}

V4l2Input::Run V4l2Input::streamOnce(FrameSink& sink) {
    int error = 0;
    const auto node = setup_.opener->open(setup_.path, error);
    if (!node) return {streamEndOf(error), error};
    std::unique_ptr<V4l2Stream> stream;
    if (const Run failed = startLightEnough(*node, stream); !stream) return failed;
    if (!converter_.setFormat(stream->format())) return {StreamEnd::failed, EPROTONOSUPPORT};
    return pump(*node, *stream, sink);
}

// Goes down the list, past all that is no lighter than what the bus refused.
V4l2Input::Run V4l2Input::startLightEnough(V4l2Node& node, std::unique_ptr<V4l2Stream>& stream) {
    int error = EPROTONOSUPPORT; // where the camera offers nothing that we can show
    double tooHeavy = 0;
    for (const FormatChoice& choice : rankFormats(offeredModes(node, setup_.request), setup_.request)) {
        if (error == ENOSPC && choice.bytesPerSecond() >= tooHeavy) continue;
        if (stop_.isSet()) return {StreamEnd::stopped, 0};
        auto attempt = std::make_unique<V4l2Stream>(node);
        error = attempt->start(choice);
        if (error == 0) {
            stream = std::move(attempt);
            return {};
        }
        if (error != ENOSPC) break;
        tooHeavy = choice.bytesPerSecond();
    }
    return {streamEndOf(error), error};
}

V4l2Input::Run V4l2Input::pump(const V4l2Node& node, V4l2Stream& stream, FrameSink& sink) {
    auto deadline = Clock::now() + policy_.firstFrame();
    for (;;) {
        const Woken woken = waitForFrame(node.descriptor(), stop_.descriptor(), deadline);
        if (woken == Woken::stop) return {StreamEnd::stopped, 0};
        if (woken == Woken::silence) return {StreamEnd::silent, 0};
        V4l2Stream::Frame frame;
        int error = stream.take(frame);
        if (error == EAGAIN) {
            if (woken != Woken::trouble) continue;
            error = EIO;
        }
        if (error != 0) return {streamEndOf(error), error};
        if (!frame.damaged) {
            deadline = Clock::now() + setup_.patience.silence;
            policy_.frameCame();
        }
        if (!handle(frame, sink)) countDropped();
        if (error = stream.giveBack(frame); error != 0) return {streamEndOf(error), error};
    }
}

bool V4l2Input::handle(const V4l2Stream::Frame& frame, FrameSink& sink) {
    auto picture = frame.damaged ? nullptr : converter_.convert(frame.bytes);
    if (!picture) return false;
    lastTime_ = frameTime(frame.buffer, Clock::now().time_since_epoch(), lastTime_);
    droppedInARow_ = 0;
    sink.consume({std::move(picture), MediaTime::fromNanoseconds(lastTime_)});
    return true;
}

void V4l2Input::countDropped() {
    if (++droppedInARow_ == droppedFramesWorthALine)
        setup_.diagnostics.report(setup_.path, "streaming: every frame of the last second was damaged");
}

void V4l2Input::report(const Run& run) {
    const std::string reason =
        run.end == StreamEnd::silent ? "no frame came" : std::generic_category().message(run.error);
    setup_.diagnostics.report(setup_.path, streamEndText(run.end, reason));
}

} // namespace tavelo
