// SPDX-License-Identifier: MIT
#include "platform/linux/usb/capture_input.h"

#include <new>
#include <span>
#include <utility>

#include "platform/linux/usb/stream/streaming_descriptors.h"
#include "platform/linux/usb/stream/usb_stream.h"

namespace tavelo {

UsbCaptureInput::UsbCaptureInput(const std::shared_ptr<CaptureDevice>& device, UsbStreamSource source,
                                 CaptureInputOptions options)
    : RetryingCaptureInput(device, device ? device->uniqueID() : "USB camera", "usb capture",
                           std::move(options)),
      source_(std::move(source)) {}

UsbCaptureInput::~UsbCaptureInput() {
    stop();
}

void UsbCaptureInput::setStop(bool stop) {
    stop ? mailbox_.stop() : mailbox_.clearStop();
}

// A silent camera stays claimed, since giving it back to the kernel's driver takes seconds; after other
// failures it is opened again.
StreamOver UsbCaptureInput::streamOnce() {
    StreamOver over = attempt();
    if (over.end != StreamEnd::silent && over.end != StreamEnd::busFull) camera_.reset();
    return over;
}

// Memory may run out at any step; that ends the run, not the program.
StreamOver UsbCaptureInput::attempt() {
    try {
        return streamWithin();
    } catch (const std::bad_alloc&) {
        return {StreamEnd::failed, "no memory for the camera's pictures"};
    }
}

StreamOver UsbCaptureInput::streamWithin() {
    Error error;
    if (!camera_) camera_ = source_.open(error);
    if (!camera_) return {streamEndOf(error.code), error.text};
    const UvcStreamingInterface interface =
        streamingInterfaceOf(source_.configurationDescriptor, source_.streamingInterface);
    UsbStream stream(*camera_, source_.streamingInterface, mailbox_, options().priority);
    if (auto failed = stream.start(interface, options().request)) return *failed;
    if (!converter_.setFormat(stream.format()))
        return {StreamEnd::failed, "the picture's size makes no sense"};
    return pump();
}

StreamOver UsbCaptureInput::pump() {
    auto deadline = firstDeadline();
    for (;;) {
        switch (mailbox_.wait(deadline)) {
            case FrameMailbox::Event::stopped:
                return {};
            case FrameMailbox::Event::silence:
                return silent();
            case FrameMailbox::Event::ended:
                return {streamEndOf(mailbox_.endReason()), "the transfer of pictures broke off"};
            case FrameMailbox::Event::frame:
                deadline = frameCame();
                const FrameMailbox::Frame& frame = mailbox_.reading();
                deliver(converter_.convert(std::span(frame.bytes).first(frame.size), demand()),
                        frame.time.time_since_epoch());
        }
    }
}

StreamOver UsbCaptureInput::silent() const {
    return {StreamEnd::silent, mailbox_.damaged() > 0 ? "every frame was damaged" : "no frame came"};
}

} // namespace tavelo
