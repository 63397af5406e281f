// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/control_interface.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/linux/kernel/control_watch.h"
#include "platform/linux/kernel/kernel_controls.h"
#include "platform/uvc/camera_record.h"

namespace tavelo {

namespace {

std::string_view nameOrUnknown(std::uint8_t request) {
    const std::string_view name = nameOf(static_cast<UvcRequest>(request));
    return name.empty() ? "unknown request" : name;
}

// The driver's errno in words.
std::string reasonOf(int error) {
    switch (error) {
        case EPIPE:
            return "the camera refuses";
        case EBUSY:
            return "the camera is not ready";
        case EILSEQ:
            return "not in the camera's present state";
        case EACCES:
            return "ruled by an automatic control, or not to be read";
        case ERANGE:
            return "out of range";
        case EINVAL:
            return "no such value";
        case EIO:
            return "the camera does not know it";
        case ETIMEDOUT:
            return "the camera does not answer";
        case ENODEV:
        case ESHUTDOWN: // it goes just now
            return "the camera is gone";
        case ENOBUFS:
            return "the driver knows another length";
        case EBADRQC:
            return "the camera excludes it";
        default:
            return std::generic_category().message(error);
    }
}

std::optional<UvcEntity> entityOf(const KernelInterfaceAddress& address, std::int32_t id) {
    if (id == address.terminalID) return UvcEntity::cameraTerminal;
    if (id == address.unitID) return UvcEntity::processingUnit;
    if (address.terminalID == -1 && id == 1) return UvcEntity::cameraTerminal;
    if (address.unitID == -1 && id == 2) return UvcEntity::processingUnit;
    return std::nullopt;
}

} // namespace

KernelControlInterface::KernelControlInterface(std::shared_ptr<V4l2Node> device,
                                               KernelInterfaceAddress address, Diagnostics& diagnostics,
                                               std::shared_ptr<HeldPair> pair)
    : address_(std::move(address)),
      diagnostics_(diagnostics),
      heldPair_(std::move(pair)),
      device_(std::move(device)) {}

KernelControlInterface::~KernelControlInterface() {
    USBInterfaceClose();
}

ErrorCode KernelControlInterface::ControlRequest(UsbControlRequest& request) {
    request.bytesDone = 0;
    std::shared_ptr<V4l2Node> device;
    {
        const std::lock_guard lock(mutex_);
        device = device_;
    }
    if (!device) return ErrorCode::closed;
    const bool isWrite = request.bmRequestType == uvc::classInterfaceOut;
    if (!isWrite && request.bmRequestType != uvc::classInterfaceIn) return ErrorCode::failed;
    if (request.data == nullptr && request.wLength > 0) return ErrorCode::failed;
    if (isForUnit(request)) return exchange(*device, request);
    const KernelControl* control = findControl(request);
    if (control == nullptr) return ErrorCode::none;
    return isWrite ? write(*device, *control, request) : read(*device, *control, request);
}

void KernelControlInterface::USBInterfaceClose() {
    std::shared_ptr<V4l2Node> closing;
    const std::lock_guard lock(mutex_);
    closing.swap(device_);
    if (const auto ending = watchEnding_.lock()) ending->set();
}

// Subscribing may have to wait for a request of another program, so the lock is not held meanwhile.  If the
// interface is closed by then, the watch ends at once.
std::unique_ptr<ControlWatch> KernelControlInterface::watchControls(const ControlWatchEvents& events) {
    try {
        std::shared_ptr<V4l2Node> device;
        const auto ending = std::make_shared<WakeEvent>();
        {
            const std::lock_guard lock(mutex_);
            if (!device_ || !watchEnding_.expired()) return nullptr;
            device = device_;
            watchEnding_ = ending;
        }
        return KernelControlWatch::start(std::move(device), ending, events);
    } catch (const std::system_error&) {
        return nullptr; // the process has no descriptor or thread left
    }
}

const KernelControl* KernelControlInterface::findControl(const UsbControlRequest& request) const {
    if ((request.wIndex & 0xFF) != address_.interfaceNumber) return nullptr;
    const auto entity = entityOf(address_, request.wIndex >> 8);
    if (!entity) return nullptr;
    return findKernelControl({*entity, static_cast<std::uint8_t>(request.wValue >> 8)});
}

bool KernelControlInterface::isForUnit(const UsbControlRequest& request) const {
    if ((request.wIndex & 0xFF) != address_.interfaceNumber || entityOf(address_, request.wIndex >> 8))
        return false;
    return std::ranges::find(address_.units, request.wIndex >> 8, &ExtensionUnit::id) != address_.units.end();
}

ErrorCode KernelControlInterface::exchange(V4l2Node& device, UsbControlRequest& request) {
    const bool isWrite = request.bmRequestType == uvc::classInterfaceOut;
    const auto unit = static_cast<std::uint8_t>(request.wIndex >> 8);
    const auto selector = static_cast<std::uint8_t>(request.wValue >> 8);
    const int error = queryExtensionUnit(device, unit, selector, request.bRequest, request.payload());
    if (error == 0) {
        request.bytesDone = request.wLength;
        return ErrorCode::none;
    }
    const ErrorCode code = unitErrorOf(error, isWrite);
    if (code != ErrorCode::none || error != ENOENT)
        report("control " + std::to_string(selector) + " of unit " + std::to_string(unit), request, error);
    return code;
}

ErrorCode KernelControlInterface::read(V4l2Node& device, const KernelControl& control,
                                       UsbControlRequest& request) {
    const std::uint64_t writesBefore = heldPair_->writes();
    const KernelReply reply = readKernelControl(device, control, static_cast<UvcRequest>(request.bRequest));
    // EINVAL usually means that the camera lacks the control, which is no failure.
    if (reply.error != 0 && reply.error != EINVAL) report(control.name, request, reply.error);
    const std::size_t count = std::min<std::size_t>(reply.bytes.size(), request.wLength);
    const bool isPair = control.encoding == KernelEncoding::pair;
    if (isPair && static_cast<UvcRequest>(request.bRequest) == UvcRequest::getCur && count == control.size)
        heldPair_->setRead(reply.bytes, writesBefore);
    std::copy_n(reply.bytes.begin(), count, request.payload().begin());
    request.bytesDone = static_cast<std::uint32_t>(count);
    return controlErrorOf(reply.error, false);
}

ErrorCode KernelControlInterface::write(V4l2Node& device, const KernelControl& control,
                                        UsbControlRequest& request) {
    // The class has no other write.
    const bool known = static_cast<UvcRequest>(request.bRequest) == UvcRequest::setCur;
    const KernelReply reply = known ? writeKernelControl(device, control, request.payload(), heldOf(control))
                                    : KernelReply{EINVAL, {}, false};
    if (reply.error != 0) report(control.name, request, reply.error);
    if (reply.written) {
        request.bytesDone = request.wLength;
        std::ranges::copy(reply.bytes, request.payload().begin());
        if (control.encoding == KernelEncoding::pair) heldPair_->setWritten(reply.bytes);
    }
    return controlErrorOf(reply.error, true);
}

std::vector<std::uint8_t> KernelControlInterface::heldOf(const KernelControl& control) {
    if (control.encoding != KernelEncoding::pair) return {};
    return heldPair_->get();
}

void KernelControlInterface::report(std::string_view control, const UsbControlRequest& request,
                                    int error) noexcept {
    std::string reason(nameOrUnknown(request.bRequest));
    reason.append(" of ").append(control).append(": ").append(reasonOf(error));
    diagnostics_.report(address_.name, reason);
}

} // namespace tavelo
