// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_controls.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <optional>

#include "platform/linux/file_error.h"
#include "platform/uvc/little_endian.h"

namespace tavelo {

namespace {

// The camera's mode for each entry of V4L2's menu.
constexpr std::array<std::uint8_t, 4> exposureModes{uvc::automaticExposure, uvc::manualExposure,
                                                    uvc::shutterPriority, uvc::aperturePriority};

// One control, or the two of a pair.
struct Ids {
    std::array<std::uint32_t, 2> ids;
    std::size_t count;

    explicit Ids(const KernelControl& control)
        : ids{control.id, control.secondId},
          count(control.secondId != 0 ? 2U : 1U) {}

    const std::uint32_t* begin() const { return ids.data(); }
    const std::uint32_t* end() const { return ids.data() + count; }
};

KernelReply failure(int error) {
    return {error, {}, false};
}

// False if the camera has no equivalent of the value.
bool appendValue(std::vector<std::uint8_t>& bytes, const KernelControl& control, std::int32_t value) {
    if (control.encoding == KernelEncoding::exposureMode) {
        if (value < 0 || std::size_t(value) >= exposureModes.size()) return false;
        bytes.push_back(exposureModes[std::size_t(value)]);
        return true;
    }
    appendLittleEndian(bytes, static_cast<std::uint32_t>(value),
                       control.encoding == KernelEncoding::pair ? 4 : control.size);
    return true;
}

std::int32_t decode(std::span<const std::uint8_t> bytes, bool isSigned) {
    return static_cast<std::int32_t>(integerOf(bytes, isSigned));
}

// `data` has the control's full size.  Nothing if the camera has no such value.
std::optional<std::vector<V4l2ControlValue>> decodeAll(const KernelControl& control,
                                                       std::span<const std::uint8_t> data) {
    switch (control.encoding) {
        case KernelEncoding::pair:
            return std::vector<V4l2ControlValue>{{control.id, decode(data.first(4), true)},
                                                 {control.secondId, decode(data.subspan(4, 4), true)}};
        case KernelEncoding::exposureMode: {
            const auto mode = std::ranges::find(exposureModes, data[0]);
            if (mode == exposureModes.end()) return std::nullopt;
            return std::vector<V4l2ControlValue>{
                {control.id, static_cast<std::int32_t>(mode - exposureModes.begin())}};
        }
        case KernelEncoding::number:
            break;
    }
    return std::vector<V4l2ControlValue>{{control.id, decode(data.first(control.size), control.isSigned)}};
}

// Whether further requests are useless.  A control whose read the camera stalls may still take a value.
bool endsEverything(int error) {
    return controlErrorOf(error, false) != ErrorCode::none;
}

bool answers(KernelRange range, UvcRequest request) {
    switch (range) {
        case KernelRange::none:
            return false;
        case KernelRange::defaultOnly:
            return request == UvcRequest::getDef;
        case KernelRange::defaultAndResolution:
            return request == UvcRequest::getDef || request == UvcRequest::getRes;
        case KernelRange::full:
            return true;
    }
    return false;
}

std::int32_t numberOf(const V4l2ControlInfo& info, UvcRequest request) {
    switch (request) {
        case UvcRequest::getMin:
            return info.minimum;
        case UvcRequest::getMax:
            return info.maximum;
        case UvcRequest::getRes:
            return info.step;
        default:
            return info.defaultValue;
    }
}

KernelReply readValue(V4l2Node& device, const KernelControl& control) {
    std::array<V4l2ControlValue, 2> values{{{control.id, 0}, {control.secondId, 0}}};
    const Ids ids(control);
    const auto used = std::span(values).first(ids.count);
    KernelReply reply;
    reply.error = getControls(device, used);
    if (reply.error != 0) return reply;
    for (const V4l2ControlValue& value : used) {
        if (!appendValue(reply.bytes, control, value.value)) return {};
    }
    return reply;
}

// The bit map of exposure modes, from the menu's entries.
KernelReply readModes(V4l2Node& device, const KernelControl& control) {
    std::uint8_t modes = 0;
    for (std::uint32_t index = 0; index < exposureModes.size(); ++index) {
        const int error = queryMenu(device, control.id, index);
        if (error == 0) modes = static_cast<std::uint8_t>(modes | exposureModes[index]);
        if (error != 0 && error != EINVAL) return failure(error);
    }
    if (modes == 0) return {};
    return {0, {modes}, false};
}

KernelReply readRange(V4l2Node& device, const KernelControl& control, UvcRequest request) {
    if (!answers(control.range, request)) return {};
    if (control.encoding == KernelEncoding::exposureMode && request == UvcRequest::getRes)
        return readModes(device, control);
    KernelReply reply;
    for (const std::uint32_t id : Ids(control)) {
        V4l2ControlInfo info;
        if (const int error = queryControl(device, id, info)) return failure(error);
        if (!appendValue(reply.bytes, control, numberOf(info, request))) return {};
    }
    return reply;
}

std::uint8_t infoBits(std::uint32_t flags) {
    std::uint8_t info = 0;
    if ((flags & V4L2_CTRL_FLAG_WRITE_ONLY) == 0) info |= uvc::infoGet;
    if ((flags & V4L2_CTRL_FLAG_READ_ONLY) == 0) info |= uvc::infoSet;
    if ((flags & V4L2_CTRL_FLAG_INACTIVE) != 0) info |= uvc::infoDisabledByAutomatic;
    if ((flags & V4L2_CTRL_FLAG_VOLATILE) != 0) info |= uvc::infoAutoUpdate;
    return info;
}

KernelReply readInfo(V4l2Node& device, const KernelControl& control) {
    std::uint8_t able = uvc::infoGet | uvc::infoSet;
    std::uint8_t state = 0;
    for (const std::uint32_t id : Ids(control)) {
        V4l2ControlInfo info;
        if (const int error = queryControl(device, id, info)) return failure(error);
        if ((info.flags & V4L2_CTRL_FLAG_DISABLED) != 0) return {};
        const std::uint8_t bits = infoBits(info.flags);
        able &= bits;
        state |= bits & (uvc::infoDisabledByAutomatic | uvc::infoAutoUpdate);
    }
    return {0, {static_cast<std::uint8_t>(able | state)}, false};
}

KernelReply readLength(V4l2Node& device, const KernelControl& control) {
    V4l2ControlInfo info;
    if (queryControl(device, control.id, info) == EINVAL) return {};
    return {0, {control.size, 0}, false};
}

// Whether the driver would pass on exactly this value, without clamping it.
bool passes(const V4l2ControlInfo& info, std::int32_t value) {
    // A range beyond V4L2's 32 signed bits is left to the driver.
    return info.maximum < info.minimum || (value >= info.minimum && value <= info.maximum);
}

// The values to write: all, except a half of a pair that stays the same.
std::vector<V4l2ControlValue> changedValues(const KernelControl& control,
                                            const std::vector<V4l2ControlValue>& values,
                                            std::span<const std::uint8_t> held) {
    if (held.size() < control.size) return values;
    const auto before = decodeAll(control, held);
    if (!before || *before == values) return values;
    std::vector<V4l2ControlValue> changed;
    std::ranges::copy_if(values, std::back_inserter(changed), [&](const V4l2ControlValue& value) {
        return std::ranges::find(*before, value) == before->end();
    });
    return changed;
}

// The control's bytes after a write: what was written as the driver set it, the rest as given.
std::vector<std::uint8_t> takenBytes(const KernelControl& control,
                                     const std::vector<V4l2ControlValue>& values,
                                     const std::vector<V4l2ControlValue>& taken) {
    std::vector<std::uint8_t> bytes;
    for (const V4l2ControlValue& value : values) {
        const auto found = std::ranges::find(taken, value.id, &V4l2ControlValue::id);
        if (!appendValue(bytes, control, (found == taken.end() ? value : *found).value)) return {};
    }
    return bytes;
}

} // namespace

KernelReply readKernelControl(V4l2Node& device, const KernelControl& control, UvcRequest request) {
    switch (request) {
        case UvcRequest::getCur:
            return readValue(device, control);
        case UvcRequest::getInfo:
            return readInfo(device, control);
        case UvcRequest::getMin:
        case UvcRequest::getMax:
        case UvcRequest::getRes:
        case UvcRequest::getDef:
            return readRange(device, control, request);
        case UvcRequest::getLen:
            return readLength(device, control);
        case UvcRequest::setCur:
            break;
    }
    return {};
}

KernelReply writeKernelControl(V4l2Node& device, const KernelControl& control,
                               std::span<const std::uint8_t> data, std::span<const std::uint8_t> held) {
    std::vector<V4l2ControlInfo> infos;
    for (const std::uint32_t id : Ids(control)) {
        V4l2ControlInfo info;
        const int error = queryControl(device, id, info);
        if (error == EINVAL) return {};
        if (endsEverything(error)) return failure(error);
        // A camera that does not report its range may still take a value; an empty range checks nothing.
        infos.push_back(error == 0 ? info : V4l2ControlInfo{.maximum = -1});
    }
    if (data.size() < control.size) return failure(ERANGE);
    const auto values = decodeAll(control, data);
    if (!values) return failure(ERANGE);
    std::vector<V4l2ControlValue> written = changedValues(control, *values, held);
    for (const V4l2ControlValue& value : written) {
        if (!passes(infos[value.id == control.id ? 0 : 1], value.value)) return failure(ERANGE);
    }
    if (const int error = setControls(device, written)) return failure(error);
    return {0, takenBytes(control, *values, written), true};
}

ErrorCode controlErrorOf(int error, bool isWrite) {
    switch (error) {
        // A camera's reasons for a stall (not ready, wrong state, power, range, unit, control, request,
        // value), a stall without a reason, and the driver's refusal of a control that an automatic one
        // governs.
        case EPIPE:
        case EBUSY:
        case EILSEQ:
        case EREMOTE:
        case ERANGE:
        case EIO:
        case EINVAL:
        case EACCES:
            return isWrite ? ErrorCode::refused : ErrorCode::none;
        default:
            return errorCodeOfErrno(error);
    }
}

ErrorCode unitErrorOf(int error, bool isWrite) {
    switch (error) {
        case ENOENT: // no such control
        case ENOTTY: // another driver, which has no such request
            return ErrorCode::none;
        case ENOBUFS: // another length
        case EBADRQC: // excluded by GET_INFO
            return isWrite ? ErrorCode::refused : ErrorCode::none;
        default:
            return controlErrorOf(error, isWrite);
    }
}

} // namespace tavelo
