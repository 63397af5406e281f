// SPDX-License-Identifier: MIT
#include "platform/virtual/virtual_inspector.h"

#include <utility>

#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

VirtualInspector::VirtualInspector(std::shared_ptr<VirtualCameraFirmware> firmware,
                                   std::uint8_t controlInterface)
    : firmware_(std::move(firmware)),
      controlInterface_(controlInterface) {}

RawAnswer VirtualInspector::ask(const RawQuestion& question) {
    UsbReply reply = firmware_->control(
        {uvc::classInterfaceIn, question.bRequest, static_cast<std::uint16_t>(question.selector << 8U),
         static_cast<std::uint16_t>(question.entity << 8U | controlInterface_), question.wLength},
        {});
    switch (reply.kind) {
        case UsbReplyKind::done:
            return {AnswerKind::answered, std::move(reply.data)};
        case UsbReplyKind::stall:
            return {AnswerKind::stalled, {}};
        case UsbReplyKind::silence:
            break;
    }
    return {firmware_->present() ? AnswerKind::timedOut : AnswerKind::gone, {}};
}

} // namespace tavelo
