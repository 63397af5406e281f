// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/capture_input.h"

#include <poll.h>

#include <cerrno>
#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include "platform/linux/v4l2/v4l2_formats.h"

namespace tavelo {
namespace {

using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC, like the driver's timestamps

// Bounds the search for the newest frame if frames come faster than they are looked through.
constexpr int mostTakenAtOnce = 16;

enum class Woken { frame, stop, silence, trouble, pipewire };

// Waits for a frame, the stop, what PipeWire tells (-1: nothing), or `deadline`.
Woken waitForFrame(int node, int stop, int pipewire, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return Woken::silence;
    pollfd waiting[] = {{stop, POLLIN, 0}, {node, POLLIN, 0}, {pipewire, POLLIN, 0}};
    if (::poll(waiting, 3, int(left.count())) < 0) return errno == EINTR ? Woken::frame : Woken::trouble;
    if (waiting[0].revents != 0) return Woken::stop;
    if (waiting[2].revents != 0) return Woken::pipewire;
    if ((waiting[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return Woken::trouble;
    return Woken::frame; // or nothing yet, which take() reports
}

StreamOver over(int error) {
    return {streamEndOf(error), std::generic_category().message(error)};
}

} // namespace

KernelCaptureInput::KernelCaptureInput(std::shared_ptr<CaptureDevice> device, std::string path,
                                       std::shared_ptr<V4l2NodeOpener> opener, CaptureInputOptions options,
                                       SharedPictures pictures)
    : RetryingCaptureInput(std::move(device), path, "v4l2 capture", std::move(options)),
      path_(std::move(path)),
      opener_(std::move(opener)),
      pictures_(std::move(pictures)) {}

KernelCaptureInput::~KernelCaptureInput() {
    stop();
}

void KernelCaptureInput::setStop(bool stop) {
    stop ? stop_.set() : stop_.clear();
}

// Memory may run out at any step; that ends the run, not the program.
StreamOver KernelCaptureInput::streamOnce() {
    try {
        return streamWithin();
    } catch (const std::bad_alloc&) {
        return over(ENOMEM);
    }
}

// PipeWire is asked first; what it does not answer is the driver's, until it offers the camera anew.
StreamOver KernelCaptureInput::streamWithin() {
    for (;;) {
        if (const auto over = streamFromPipewire()) return *over;
        if (const auto over = streamFromDriver()) return *over;
    }
}

/// @return nothing if PipeWire has the camera now
std::optional<StreamOver> KernelCaptureInput::streamFromDriver() {
    int error = 0;
    const auto node = opener_->open(path_, error);
    if (!node) return over(error);
    std::unique_ptr<V4l2Stream> stream;
    if (StreamOver failed = startLightEnough(*node, stream); !stream) return failed;
    if (!converter_.setFormat(stream->format())) return over(EPROTONOSUPPORT);
    return pump(*node, *stream);
}

// Goes down the list, skipping formats that are no lighter than one the bus refused and those that need too
// much memory.
StreamOver KernelCaptureInput::startLightEnough(V4l2Node& node, std::unique_ptr<V4l2Stream>& stream) {
    int error = EPROTONOSUPPORT; // if the camera offers nothing that we can show
    double tooHeavy = std::numeric_limits<double>::infinity();
    for (const FormatChoice& choice : rankFormats(offeredModes(node, options().request), options().request)) {
        if (choice.bytesPerSecond() >= tooHeavy) continue;
        if (stop_.isSet()) return {};
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
    return over(error);
}

std::optional<StreamOver> KernelCaptureInput::pump(const V4l2Node& node, V4l2Stream& stream) {
    auto deadline = firstDeadline();
    for (;;) {
        const Woken woken = waitForFrame(node.descriptor(), stop_.descriptor(),
                                         shared_ ? shared_->descriptor() : -1, deadline);
        if (woken == Woken::stop) return StreamOver();
        if (woken == Woken::silence) return StreamOver{StreamEnd::silent, "no frame came"};
        if (woken == Woken::pipewire) {
            if (mustLeaveDriver()) return std::nullopt;
            continue;
        }
        std::optional<V4l2Stream::Frame> frame;
        int error = takeNewest(stream, frame);
        if (error == 0 && !frame && woken == Woken::trouble) error = EIO;
        if (error != 0) return over(error);
        if (!frame) continue;
        deadline = frameCame();
        deliver(converter_.convert(frame->bytes, demand()),
                frameTime(frame->buffer, Clock::now().time_since_epoch()));
        if (error = stream.giveBack(*frame); error != 0) return over(error);
    }
}

// Frames that waited during the last conversion are old: all but the newest go back at once, and so do
// damaged ones.
int KernelCaptureInput::takeNewest(V4l2Stream& stream, std::optional<V4l2Stream::Frame>& newest) {
    for (int taken = 0; taken < mostTakenAtOnce; ++taken) {
        V4l2Stream::Frame frame;
        if (const int error = stream.take(frame); error != 0) return error == EAGAIN ? 0 : error;
        if (frame.damaged) {
            countDamaged();
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

} // namespace tavelo
