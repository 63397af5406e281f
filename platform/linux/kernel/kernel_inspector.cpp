// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_inspector.h"

#include <linux/v4l2-controls.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/linux/kernel/kernel_controls.h"

namespace tavelo {
namespace {

// What the driver maps beyond the controls that the panel uses.
struct FurtherMapping {
    ControlAddress address;
    std::array<std::uint32_t, 2> ids; ///< the second is 0 if there is one only
};
constexpr auto terminal = UvcEntity::cameraTerminal;
constexpr auto unit = UvcEntity::processingUnit;
constexpr std::array furtherMappings{
    FurtherMapping{{terminal, 10}, {V4L2_CID_IRIS_RELATIVE, 0}},
    FurtherMapping{{terminal, 12}, {V4L2_CID_ZOOM_CONTINUOUS, 0}},
    FurtherMapping{{terminal, 14}, {V4L2_CID_PAN_SPEED, V4L2_CID_TILT_SPEED}},
    FurtherMapping{{terminal, 17}, {V4L2_CID_PRIVACY, 0}},
    FurtherMapping{{unit, 12}, {V4L2_CID_BLUE_BALANCE, V4L2_CID_RED_BALANCE}},
    FurtherMapping{{unit, 13}, {V4L2_CID_AUTO_WHITE_BALANCE, 0}},
};

std::array<std::uint32_t, 2> mappedIds(ControlAddress address) {
    if (const KernelControl* known = findKernelControl(address)) return {known->id, known->secondId};
    const auto* further = std::ranges::find(furtherMappings, address, &FurtherMapping::address);
    return further != furtherMappings.end() ? further->ids : std::array<std::uint32_t, 2>{};
}

// A stall arrives as one of several errors.
AnswerKind kindOf(int error) {
    switch (controlErrorOf(error, false)) {
        case ErrorCode::none:
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

KernelInspector::KernelInspector(std::shared_ptr<V4l2Node> node, std::string path, UsbVideoFunction function)
    : node_(std::move(node)),
      path_(std::move(path)),
      function_(std::move(function)) {}

RawAnswer KernelInspector::ask(const RawQuestion& question) {
    if (const auto kind = function_.kindOf(question.entity))
        return askDriver({*kind, question.selector}, question);
    return askCamera(question);
}

AnswerSource KernelInspector::sourceOf(std::uint8_t entity) const {
    return function_.kindOf(entity) ? AnswerSource::driver : AnswerSource::camera;
}

RawAnswer KernelInspector::askDriver(ControlAddress address, const RawQuestion& question) {
    const KernelControl* control = findKernelControl(address);
    if (control == nullptr) return {};
    KernelReply reply = readKernelControl(*node_, *control, static_cast<UvcRequest>(question.bRequest));
    // The driver lacks the control, or never asks that of it.
    if (reply.error == EINVAL || (reply.error == 0 && reply.bytes.empty())) return {};
    if (reply.error != 0) return {kindOf(reply.error), {}};
    reply.bytes.resize(std::min<std::size_t>(reply.bytes.size(), question.wLength));
    return {AnswerKind::answered, std::move(reply.bytes)};
}

RawAnswer KernelInspector::askCamera(const RawQuestion& question) {
    if (question.wLength == 0) return {};
    RawAnswer answer{AnswerKind::answered, std::vector<std::uint8_t>(question.wLength)};
    const int error =
        queryExtensionUnit(*node_, question.entity, question.selector, question.bRequest, answer.bytes);
    if (error == 0) return answer;
    // The driver did not ask the camera, or has no such request.
    if (error == ENOENT || error == EBADRQC || error == ENOBUFS || error == ENOTTY) return {};
    return {kindOf(error), {}};
}

DriverView KernelInspector::driverView(std::uint8_t entity, std::uint8_t selector) {
    const auto kind = function_.kindOf(entity);
    if (!kind) return {};
    DriverView view{AnswerKind::answered, {}};
    for (const std::uint32_t id : mappedIds({*kind, selector})) {
        if (id == 0) continue;
        DriverControl control;
        const int error = describeControl(*node_, id, control);
        if (error == EINVAL) continue; // it does not map the control of this camera
        if (error != 0) return {kindOf(error), {}};
        view.controls.push_back(std::move(control));
    }
    return view;
}

} // namespace tavelo
