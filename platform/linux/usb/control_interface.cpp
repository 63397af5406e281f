// SPDX-License-Identifier: MIT
#include "platform/linux/usb/control_interface.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <utility>

#include "platform/uvc/controls.h"

namespace tavelo {
namespace {

bool isRead(const UsbControlRequest& request) {
    return (request.bmRequestType & uvc::directionIn) != 0;
}

std::string_view reasonOf(ErrorCode status) {
    switch (status) {
        case ErrorCode::refused:
            return "the camera refuses";
        case ErrorCode::timeout:
            return "the camera does not answer";
        case ErrorCode::gone:
            return "the camera is gone";
        case ErrorCode::denied:
            return "no permission";
        default:
            return "the link failed";
    }
}

} // namespace

UsbControlInterface::UsbControlInterface(std::shared_ptr<UsbHandle> camera, UsbVideoFunction function,
                                         std::string name, Diagnostics& diagnostics)
    : camera_(std::move(camera)),
      function_(std::move(function)),
      name_(std::move(name)),
      diagnostics_(diagnostics) {}

ErrorCode UsbControlInterface::ControlRequest(UsbControlRequest& request) {
    request.bytesDone = 0;
    {
        const std::lock_guard lock(mutex_);
        if (closed_) return ErrorCode::closed;
    }
    if (request.data == nullptr && request.wLength > 0) return ErrorCode::failed;
    const UsbSetupPacket setup{request.bmRequestType, request.bRequest, request.wValue, request.wIndex};
    const UsbResult result = camera_->request(setup, request.payload(), controlPatience);
    if (result.code == ErrorCode::none) {
        request.bytesDone = static_cast<std::uint32_t>(std::min<std::size_t>(result.bytes, request.wLength));
        return ErrorCode::none;
    }
    if (result.code == ErrorCode::refused && answerForTheClass(request)) return ErrorCode::none;
    const ErrorCode status = statusOf(request, result.code);
    if (status != ErrorCode::none) report(request, reasonOf(status));
    return status;
}

void UsbControlInterface::USBInterfaceClose() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
}

bool UsbControlInterface::answerForTheClass(UsbControlRequest& request) {
    const auto entity = static_cast<std::uint8_t>(request.wIndex >> 8);
    const auto selector = static_cast<std::uint8_t>(request.wValue >> 8);
    const std::optional<UvcEntity> kind = function_.kindOf(entity);
    if (request.wLength == 0 || !kind || !function_.lists(entity, selector)) return false;
    const auto answer =
        classRange({*kind, selector}, static_cast<UvcRequest>(request.bRequest), function_.classVersion);
    if (!answer) return false;
    request.data[0] = *answer;
    request.bytesDone = 1;
    report(request, "not answered, the class's own range is taken");
    return true;
}

ErrorCode UsbControlInterface::statusOf(const UsbControlRequest& request, ErrorCode code) const {
    switch (code) {
        case ErrorCode::refused: {
            if (isRead(request)) return ErrorCode::none;
            const auto entity = static_cast<std::uint8_t>(request.wIndex >> 8);
            const auto selector = static_cast<std::uint8_t>(request.wValue >> 8);
            return function_.lists(entity, selector) ? ErrorCode::refused : ErrorCode::none;
        }
        case ErrorCode::timeout:
        case ErrorCode::gone:
        case ErrorCode::denied:
            return code;
        default:
            return ErrorCode::failed;
    }
}

void UsbControlInterface::report(const UsbControlRequest& request, std::string_view reason) noexcept {
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "request 0x%02x of control %u of entity %u: %.*s",
                  unsigned{request.bRequest}, unsigned{request.wValue} >> 8, unsigned{request.wIndex} >> 8,
                  static_cast<int>(reason.size()), reason.data());
    diagnostics_.report(name_, text.data());
}

} // namespace tavelo
