// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/port_stream_input.h"

#include <pthread.h>

#include <algorithm>
#include <new>
#include <utility>

#include "platform/linux/device_holders.h"
#include "platform/linux/usb/stream/streaming_descriptors.h"

namespace tavelo {
namespace {

using Clock = FrameMailbox::Clock;

} // namespace

PortStreamInput::PortStreamInput(std::shared_ptr<CaptureDevice> device, PortStreamSetup setup)
    : device_(std::move(device)),
      setup_(std::move(setup)),
      policy_(setup_.patience) {}

PortStreamInput::~PortStreamInput() {
    stop();
}

void PortStreamInput::start(FrameSink& sink) {
    if (thread_.joinable()) return;
    mailbox_.clearStop();
    trouble_.clear();
    policy_ = StreamRetryPolicy(setup_.patience);
    thread_ = std::thread([this, &sink] {
        pthread_setname_np(pthread_self(), "usb capture");
        if (setup_.priority) setup_.priority->raise();
        run(sink);
    });
}

void PortStreamInput::stop() {
    if (!thread_.joinable()) return;
    mailbox_.stop();
    thread_.join();
}

// A silent camera stays claimed, since giving it back to the kernel's driver takes seconds; after other
// failures it is opened again.
void PortStreamInput::run(FrameSink& sink) {
    std::shared_ptr<UsbHandle> camera;
    for (;;) {
        const UsbStreamOver over = streamOnce(camera, sink);
        if (over.end == StreamEnd::gone) return; // the bus itself reports it
        if (over.end != StreamEnd::silent && over.end != StreamEnd::busFull) camera.reset();
        const auto decision = policy_.after(over.end);
        if (decision.report) report(over);
        if (!decision.wait || mailbox_.waitForStop(*decision.wait)) return;
    }
}

// Memory may run out at any step; that ends the run, not the program.
UsbStreamOver PortStreamInput::streamOnce(std::shared_ptr<UsbHandle>& camera, FrameSink& sink) {
    try {
        return streamWithin(camera, sink);
    } catch (const std::bad_alloc&) {
        return {StreamEnd::failed, "no memory for the camera's pictures"};
    }
}

UsbStreamOver PortStreamInput::streamWithin(std::shared_ptr<UsbHandle>& camera, FrameSink& sink) {
    Error error;
    if (!camera) camera = setup_.connect(error);
    if (!camera) return {streamEndOf(error.code), error.text};
    const UvcStreamingInterface interface =
        streamingInterfaceOf(setup_.configurationDescriptor, setup_.streamingInterface);
    UsbStream stream(*camera, setup_.streamingInterface, mailbox_, setup_.priority);
    if (auto failed = stream.start(interface, setup_.request)) return *failed;
    if (!converter_.setFormat(stream.format()))
        return {StreamEnd::failed, "the picture's size makes no sense"};
    return pump(sink);
}

UsbStreamOver PortStreamInput::pump(FrameSink& sink) {
    auto deadline = Clock::now() + policy_.firstFrame();
    for (;;) {
        switch (mailbox_.wait(deadline)) {
            case FrameMailbox::Event::stopped:
                return {};
            case FrameMailbox::Event::silence:
                return silent();
            case FrameMailbox::Event::ended:
                return {streamEndOf(mailbox_.endReason()), "the transfer of pictures broke off"};
            case FrameMailbox::Event::frame:
                deadline = Clock::now() + setup_.patience.silence;
                policy_.frameCame();
                trouble_.clear();
                if (handle(mailbox_.reading(), sink)) break;
                if (++droppedInARow_ == droppedFramesWorthALine)
                    report("streaming: every frame of the last second was damaged");
        }
    }
}

UsbStreamOver PortStreamInput::silent() const {
    return {StreamEnd::silent, mailbox_.damaged() > 0 ? "every frame was damaged" : "no frame came"};
}

bool PortStreamInput::handle(const FrameMailbox::Frame& frame, FrameSink& sink) {
    auto picture = converter_.convert(std::span(frame.bytes).first(frame.size));
    if (!picture) return false;
    droppedInARow_ = 0;
    const std::chrono::nanoseconds time = frame.time.time_since_epoch();
    lastTime_ = std::max(time, lastTime_ + std::chrono::nanoseconds(1));
    sink.consume({std::move(picture), MediaTime::fromNanoseconds(lastTime_)});
    return true;
}

void PortStreamInput::report(UsbStreamOver over) {
    if (over.end == StreamEnd::busy) over.reason = setup_.whoHolds ? setup_.whoHolds() : busyText({});
    trouble_.set({errorCodeOf(over.end), over.reason});
    report(streamEndText(over.end, over.reason));
}

void PortStreamInput::report(const std::string& reason) {
    setup_.diagnostics.report(device_ ? device_->uniqueID() : "USB camera", reason);
}

} // namespace tavelo
