// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_inspector.h"

#include <algorithm>
#include <utility>

#include "platform/uvc/uvc_protocol.h"

namespace tavelo {
namespace {

constexpr std::uint16_t longestRead = 4096; // the kernel takes no longer control transfer

AnswerKind kindOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::none:
            return AnswerKind::answered;
        case ErrorCode::refused:
            return AnswerKind::stalled;
        case ErrorCode::timeout:
            return AnswerKind::timedOut;
        case ErrorCode::gone:
            return AnswerKind::gone;
        default:
            return AnswerKind::failed;
    }
}

} // namespace

UsbInspector::UsbInspector(std::shared_ptr<UsbHandle> camera, std::uint8_t controlInterface)
    : camera_(std::move(camera)),
      controlInterface_(controlInterface) {}

RawAnswer UsbInspector::ask(const RawQuestion& question) {
    if (question.wLength > longestRead) return {};
    std::vector<std::uint8_t> bytes(question.wLength);
    const UsbSetupPacket setup{uvc::classInterfaceIn, question.bRequest,
                               static_cast<std::uint16_t>(question.selector << 8U),
                               static_cast<std::uint16_t>(question.entity << 8U | controlInterface_)};
    const UsbResult result = camera_->request(setup, bytes, controlPatience);
    bytes.resize(result.code == ErrorCode::none ? std::min(result.bytes, bytes.size()) : 0);
    return {kindOf(result.code), std::move(bytes)};
}

} // namespace tavelo
