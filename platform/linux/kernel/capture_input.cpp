// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/capture_input.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include "platform/linux/device_holders.h"
#include "platform/linux/v4l2/v4l2_formats.h"

namespace tavelo {
namespace {

using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC, like the driver's timestamps

// Bounds the search for the newest frame if frames come faster than they are looked through.
constexpr int mostTakenAtOnce = 16;

enum class Woken { frame, stop, silence, trouble };

// Waits for a frame, the stop, or `deadline`.
Woken waitForFrame(int node, int stop, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return Woken::silence;
    pollfd waiting[] = {{stop, POLLIN, 0}, {node, POLLIN, 0}};
    if (::poll(waiting, 2, int(left.count())) < 0) return errno == EINTR ? Woken::frame : Woken::trouble;
    if (waiting[0].revents != 0) return Woken::stop;
    if ((waiting[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return Woken::trouble;
    return Woken::frame; // or nothing yet, which take() reports
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
    trouble_.clear();
    policy_ = StreamRetryPolicy(setup_.patience);
    thread_ = std::thread([this, &sink] {
        pthread_setname_np(pthread_self(), "v4l2 capture");
        if (setup_.priority) setup_.priority->raise();
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
        if (over.end == StreamEnd::gone && !isListed()) return;
        const auto decision = policy_.after(over.end);
        if (decision.report) report(over);
        if (!decision.wait || stop_.waitFor(*decision.wait)) return;
        // Another camera may have the node's name by now.
        if (over.end == StreamEnd::gone && !isListed()) return;
    }
}

// Memory may run out at any step; that ends the run, not the program.
V4l2Input::Run V4l2Input::streamOnce(FrameSink& sink) {
    try {
        return streamWithin(sink);
    } catch (const std::bad_alloc&) {
        return {StreamEnd::failed, ENOMEM};
    }
}

V4l2Input::Run V4l2Input::streamWithin(FrameSink& sink) {
    int error = 0;
    const auto node = setup_.opener->open(setup_.path, error);
    if (!node) return {streamEndOf(error), error};
    std::unique_ptr<V4l2Stream> stream;
    if (const Run failed = startLightEnough(*node, stream); !stream) return failed;
    if (!converter_.setFormat(stream->format())) return {StreamEnd::failed, EPROTONOSUPPORT};
    return pump(*node, *stream, sink);
}

// Goes down the list, skipping formats that are no lighter than one the bus refused and those that need too
// much memory.
V4l2Input::Run V4l2Input::startLightEnough(V4l2Node& node, std::unique_ptr<V4l2Stream>& stream) {
    int error = EPROTONOSUPPORT; // if the camera offers nothing that we can show
    double tooHeavy = std::numeric_limits<double>::infinity();
    for (const FormatChoice& choice : rankFormats(offeredModes(node, setup_.request), setup_.request)) {
        if (choice.bytesPerSecond() >= tooHeavy) continue;
        if (stop_.isSet()) return {StreamEnd::stopped, 0};
        auto attempt = std::make_unique<V4l2Stream>(node);
        error = attempt->start(choice);
        if (error == 0) {
            stream = std::move(attempt);
            return {};
        }
        if (error == ENOSPC)
            tooHeavy = choice.bytesPerSecond();
        else if (error != EOVERFLOW)
            break;
    }
    return {streamEndOf(error), error};
}

V4l2Input::Run V4l2Input::pump(const V4l2Node& node, V4l2Stream& stream, FrameSink& sink) {
    auto deadline = Clock::now() + policy_.firstFrame();
    for (;;) {
        const Woken woken = waitForFrame(node.descriptor(), stop_.descriptor(), deadline);
        if (woken == Woken::stop) return {StreamEnd::stopped, 0};
        if (woken == Woken::silence) return {StreamEnd::silent, 0};
        std::optional<V4l2Stream::Frame> frame;
        int error = takeNewest(stream, frame);
        if (error == 0 && !frame && woken == Woken::trouble) error = EIO;
        if (error != 0) return {streamEndOf(error), error};
        if (!frame) continue;
        deadline = Clock::now() + setup_.patience.silence;
        policy_.frameCame();
        trouble_.clear();
        if (!handle(*frame, sink)) countDropped();
        if (error = stream.giveBack(*frame); error != 0) return {streamEndOf(error), error};
    }
}

// Frames that waited during the last conversion are old: all but the newest go back at once, and so do
// damaged ones.
int V4l2Input::takeNewest(V4l2Stream& stream, std::optional<V4l2Stream::Frame>& newest) {
    for (int taken = 0; taken < mostTakenAtOnce; ++taken) {
        V4l2Stream::Frame frame;
        if (const int error = stream.take(frame); error != 0) return error == EAGAIN ? 0 : error;
        if (frame.damaged) {
            countDropped();
        } else if (newest) {
            std::swap(*newest, frame);
        } else {
            newest = frame;
            continue;
        }
        if (const int error = stream.giveBack(frame); error != 0) return error;
    }
    return 0;
}

bool V4l2Input::handle(const V4l2Stream::Frame& frame, FrameSink& sink) {
    auto picture = converter_.convert(frame.bytes);
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
    const std::string reason = reasonOf(run);
    trouble_.set({errorCodeOf(run.end), reason});
    setup_.diagnostics.report(setup_.path, streamEndText(run.end, reason));
}

std::string V4l2Input::reasonOf(const Run& run) const {
    if (run.end == StreamEnd::busy) return setup_.whoHolds ? setup_.whoHolds() : busyText({});
    return run.end == StreamEnd::silent ? "no frame came" : std::generic_category().message(run.error);
}

} // namespace tavelo
