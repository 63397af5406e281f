// SPDX-License-Identifier: MIT
// Class requests, and the records that they fill.
#include "uvc/kt_uvc_manager.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <optional>

#include "uvc/value_coding.h"

namespace tavelo {
namespace {

/// A request for one control of the bound camera, without its data.
UsbControlRequest classRequest(std::uint8_t type, UvcRequest code, const CameraBinding& binding,
                               std::int32_t unit, std::int32_t selector) {
    const std::int32_t entity =
        unit == KTUVCControlInfo::cameraTerminal ? binding.inputTerminalID : binding.processingUnitID;
    const std::uint32_t index = static_cast<std::uint32_t>(entity) << 8 |
                                (static_cast<std::uint32_t>(binding.interfaceNumber) & 0xFF);

    UsbControlRequest request;
    request.bmRequestType = type;
    request.bRequest = codeOf(code);
    request.wValue = static_cast<std::uint16_t>(static_cast<std::uint32_t>(selector) << 8);
    request.wIndex = static_cast<std::uint16_t>(index);
    return request;
}

} // namespace

bool KTUVCManager::_sendControlRequest(UsbControlRequest& request) {
    return send(binding_.get(), request);
}

bool KTUVCManager::send(const CameraBinding& binding, UsbControlRequest& request) {
    if (!binding.interface) return false;
    const ErrorCode status = binding.interface->ControlRequest(request);
    if (status == ErrorCode::none) return true;

    // Leave a camera in trouble alone: after the first failure all requests fail without being sent.
    binding.interface->USBInterfaceClose();
    const auto failedAt = now_();
    binding_.change([&](CameraBinding& current) {
        // Keep the first reason.  A request in progress meanwhile finds the interface closed, and may say so
        // before the one that failed.
        const bool isKnown = current.interfaceIsClosed() && current.failure != ErrorCode::closed;
        if (current.interface != binding.interface || isKnown) return;
        current.failure = status;
        current.failedAt = failedAt;
    });
    return false;
}

std::int32_t KTUVCManager::_requestValTypeForControlReturnVal(UvcRequest requestCode,
                                                              const KTUVCControlInfo& control,
                                                              std::unique_ptr<std::uint8_t[]>& returnVal) {
    return requestValue(binding_.get(), requestCode, control, returnVal);
}

std::int32_t KTUVCManager::requestValue(const CameraBinding& binding, UvcRequest requestCode,
                                        const KTUVCControlInfo& control,
                                        std::unique_ptr<std::uint8_t[]>& returnVal) {
    UsbControlRequest request =
        classRequest(uvc::classInterfaceIn, requestCode, binding, control.unit(), control.selector());
    request.wLength =
        requestCode == UvcRequest::getInfo ? 1 : static_cast<std::uint16_t>(control.intendedSize());
    returnVal = std::make_unique<std::uint8_t[]>(request.wLength); // zeroed
    request.data = returnVal.get();

    const bool sent = send(binding, request);
    const auto count =
        sent ? static_cast<std::int32_t>(std::min<std::uint32_t>(request.bytesDone, request.wLength)) : -1;
    if (count < 1) returnVal.reset();
    return count;
}

bool KTUVCManager::setBytesSizedToUnitSelector(const std::uint8_t* bytes, std::size_t size, std::int32_t unit,
                                               std::int32_t selector) {
    return writeBytes(binding_.get(), bytes, size, unit, selector);
}

bool KTUVCManager::_setBytesSizedToControl(const std::uint8_t* bytes, std::size_t size,
                                           const KTUVCControlInfo& control) {
    return setBytesSizedToUnitSelector(bytes, size, control.unit(), control.selector());
}

bool KTUVCManager::writeBytes(const CameraBinding& binding, const std::uint8_t* bytes, std::size_t size,
                              std::int32_t unit, std::int32_t selector) {
    if (size > maxValueSize) {
        assert(false && "a control value has at most 8 bytes");
        std::abort();
    }
    std::array<std::uint8_t, maxValueSize> payload{};
    std::copy_n(bytes, size, payload.begin());
    return write(binding, std::span(payload).first(size), unit, selector);
}

bool KTUVCManager::write(const CameraBinding& binding, std::span<std::uint8_t> bytes, std::int32_t unit,
                         std::int32_t selector) {
    UsbControlRequest request =
        classRequest(uvc::classInterfaceOut, UvcRequest::setCur, binding, unit, selector);
    request.wLength = static_cast<std::uint16_t>(bytes.size());
    request.data = bytes.data();
    return send(binding, request);
}

void KTUVCManager::populateParam(const KTUVCParameters& record) {
    readCurrent(binding_.get(), record);
}

void KTUVCManager::readCurrent(const CameraBinding& binding, const KTUVCParameters& record) {
    if (!record.controlInfo()) return;
    std::unique_ptr<std::uint8_t[]> reply;
    requestValue(binding, UvcRequest::getCur, *record.controlInfo(), reply);
}

void KTUVCManager::_populateParamSupport(KTUVCParameters& record, bool support) {
    Decode decode;
    if (const auto& control = record.controlInfo()) {
        if (const auto format = ValueFormat::ofSize(control->intendedSize(), control->isSigned()))
            decode = [format = *format](std::int64_t, std::span<const std::uint8_t> reply) {
                return format.decode(reply);
            };
    }
    populate(record, support, decode);
}

void KTUVCManager::_populate2x4ByteParamSupport(KTUVCParameters& record, bool support) {
    populate(record, support, overlaid);
}

void KTUVCManager::populate(KTUVCParameters& record, bool support, const Decode& decode) {
    if (mayHaveControl(support) && readAll(record, decode)) return;
    markUnsupported(record);
}

void KTUVCManager::markUnsupported(KTUVCParameters& record) {
    record.setSupported(false);
    record.setMin(-1);
    record.setMax(-1);
    record.setVal(-1);
    record.setDef(-1);
    record.setActualSize(-1);
}

bool KTUVCManager::mayHaveControl(bool support) const {
    if (support) return true;
    // If the descriptors say nothing at all, ask the camera itself.
    const std::shared_ptr<const BusProberDevice> camera = device();
    return camera && camera->terminalID == -1 && camera->unitID == -1;
}

bool KTUVCManager::readAll(KTUVCParameters& record, const Decode& decode) {
    if (!record.controlInfo()) return false;
    const KTUVCControlInfo& control = *record.controlInfo();

    std::unique_ptr<std::uint8_t[]> reply;
    if (_requestValTypeForControlReturnVal(UvcRequest::getInfo, control, reply) < 1) return false;
    constexpr std::uint8_t needed = uvc::infoGet | uvc::infoSet;
    if ((reply[0] & needed) != needed) return false;
    record.setSupported(true);
    if (!decode) return false;

    std::int32_t size = 0;
    const auto value = [&](UvcRequest code, std::int64_t previous) -> std::optional<std::int64_t> {
        size = _requestValTypeForControlReturnVal(code, control, reply);
        if (size < 1) return std::nullopt;
        return decode(previous, {reply.get(), static_cast<std::size_t>(size)});
    };

    const std::optional<std::int64_t> val = value(UvcRequest::getCur, record.val());
    if (!val) return false;
    record.setActualSize(size);
    record.setVal(*val);

    struct Limit {
        bool isAnswered;
        UvcRequest code;
        std::int64_t (KTUVCParameters::*get)() const;
        void (KTUVCParameters::*set)(std::int64_t);
    };
    const Limit limits[] = {
        {control.hasMin(), UvcRequest::getMin, &KTUVCParameters::min, &KTUVCParameters::setMin},
        {control.hasMax(), UvcRequest::getMax, &KTUVCParameters::max, &KTUVCParameters::setMax},
        {control.hasDef(), UvcRequest::getDef, &KTUVCParameters::def, &KTUVCParameters::setDef},
    };
    for (const Limit& limit : limits) {
        if (!limit.isAnswered) continue;
        const std::optional<std::int64_t> found = value(limit.code, (record.*limit.get)());
        if (!found) return false;
        (record.*limit.set)(*found);
    }
    return true;
}

void KTUVCManager::_populateAllParams() {
    const std::shared_ptr<const BusProberDevice> camera = device();
    for (const ControlRow& row : controlTable()) {
        const Record& target = record(row.control);
        if (!target) continue;
        const bool support = camera && row.isListedBy(*camera);
        if (row.argument == ControlArgument::pair)
            _populate2x4ByteParamSupport(*target, support);
        else
            _populateParamSupport(*target, support);
    }
}

} // namespace tavelo
