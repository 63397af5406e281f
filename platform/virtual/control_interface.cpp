// SPDX-License-Identifier: MIT
#include "platform/virtual/control_interface.h"

#include <algorithm>
#include <utility>

#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

VirtualControlInterface::VirtualControlInterface(std::shared_ptr<VirtualCameraFirmware> firmware,
                                                 std::uint8_t number)
    : firmware_(std::move(firmware)),
      number_(number),
      host_(firmware_->newHost()) {}

VirtualControlInterface::~VirtualControlInterface() {
    USBInterfaceClose();
}

void VirtualControlInterface::USBInterfaceClose() {
    const std::scoped_lock lock(mutex_);
    open_ = false;
    watch_->end();
}

std::unique_ptr<ControlWatch> VirtualControlInterface::watchControls(const ControlWatchEvents& events) {
    std::unique_lock lock(mutex_);
    if (!open_ || watch_->finds()) return nullptr;
    auto watch = std::make_unique<VirtualControlWatch>(firmware_, host_, watch_, events);
    lock.unlock(); // the watch's destructor may wait for a call that closes this
    // A camera that vanished before tells nobody.
    return firmware_->present() ? std::move(watch) : nullptr;
}

ErrorCode VirtualControlInterface::ControlRequest(UsbControlRequest& request) {
    request.bytesDone = 0;
    if (!open_) return ErrorCode::closed;
    if (!firmware_->present()) return ErrorCode::gone;
    if (request.data == nullptr && request.wLength > 0) return ErrorCode::failed;
    const bool read = (request.bmRequestType & uvc::directionIn) != 0;
    const UsbSetup setup{request.bmRequestType, request.bRequest, request.wValue, request.wIndex,
                         request.wLength};
    const std::span<const std::uint8_t> out =
        read ? std::span<const std::uint8_t>() : std::span<const std::uint8_t>(request.payload());
    const UsbReply reply = firmware_->control(setup, out, host_);
    if (reply.kind != UsbReplyKind::done) return failure(request, reply.kind);
    if (read) {
        const std::size_t size = std::min<std::size_t>(reply.data.size(), request.wLength);
        std::copy_n(reply.data.begin(), size, request.data);
        request.bytesDone = static_cast<std::uint32_t>(size);
    } else {
        request.bytesDone = request.wLength;
    }
    return ErrorCode::none;
}

// A stall counts as an answer, unless it refuses a write to a control that the camera lists.
ErrorCode VirtualControlInterface::failure(const UsbControlRequest& request, UsbReplyKind kind) const {
    if (kind == UsbReplyKind::silence) return firmware_->present() ? ErrorCode::timeout : ErrorCode::gone;
    if ((request.bmRequestType & uvc::directionIn) != 0) return ErrorCode::none;
    const bool listed = firmware_->listsControl(static_cast<std::uint8_t>(request.wIndex >> 8U),
                                                static_cast<std::uint8_t>(request.wValue >> 8U));
    return listed ? ErrorCode::refused : ErrorCode::none;
}

} // namespace tavelo
