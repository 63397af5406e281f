// SPDX-License-Identifier: MIT
#include "platform/virtual/control_interface.h"

#include <algorithm>
#include <utility>

#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

VirtualUsbInterface::VirtualUsbInterface(std::shared_ptr<VirtualCameraFirmware> firmware, std::uint8_t number)
    : firmware_(std::move(firmware)),
      number_(number) {}

UsbStatus VirtualUsbInterface::ControlRequest(UsbControlRequest& request) {
    request.bytesDone = 0;
    if (!open_) return UsbStatus::notOpen;
    if (!firmware_->present()) return UsbStatus::gone;
    if (request.data == nullptr && request.wLength > 0) return UsbStatus::failed;
    const bool read = (request.bmRequestType & uvc::directionIn) != 0;
    const UsbSetup setup{request.bmRequestType, request.bRequest, request.wValue, request.wIndex,
                         request.wLength};
    const std::span<const std::uint8_t> out =
        read ? std::span<const std::uint8_t>() : std::span<const std::uint8_t>(request.payload());
    const UsbReply reply = firmware_->control(setup, out);
    if (reply.kind != UsbReplyKind::done) return failure(request, reply.kind);
    if (read) {
        const std::size_t size = std::min<std::size_t>(reply.data.size(), request.wLength);
        std::copy_n(reply.data.begin(), size, request.data);
        request.bytesDone = static_cast<std::uint32_t>(size);
    } else {
        request.bytesDone = request.wLength;
    }
    return UsbStatus::success;
}

// A stall counts as an answer, unless it refuses a write to a control that the camera lists.
UsbStatus VirtualUsbInterface::failure(const UsbControlRequest& request, UsbReplyKind kind) const {
    if (kind == UsbReplyKind::silence) return firmware_->present() ? UsbStatus::timeout : UsbStatus::gone;
    if ((request.bmRequestType & uvc::directionIn) != 0) return UsbStatus::success;
    const bool listed = firmware_->listsControl(static_cast<std::uint8_t>(request.wIndex >> 8U),
                                                static_cast<std::uint8_t>(request.wValue >> 8U));
    return listed ? UsbStatus::refused : UsbStatus::success;
}

} // namespace tavelo
