// SPDX-License-Identifier: MIT
// One control at a time: setters, pushes and the rule of automatic controls.
#include "uvc/kt_uvc_manager.h"

#include <array>
#include <span>

#include "uvc/value_coding.h"

namespace tavelo {
namespace {

constexpr std::int32_t longestScalar = 4; // bytes

std::int64_t joined(std::int64_t pan, std::int64_t tilt) {
    const auto low = static_cast<std::uint64_t>(pan) & 0xFFFF'FFFF;
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(tilt) << 32 | low);
}

std::int64_t accepted(ControlArgument argument, std::int64_t value) {
    switch (argument) {
        case ControlArgument::truth:
            return value != 0 ? 1 : 0;
        case ControlArgument::number:
            return static_cast<std::int32_t>(value);
        case ControlArgument::integer:
        case ControlArgument::pair:
            break;
    }
    return value;
}

/// Flags remember one signed byte of the value that a failure brings back.
std::int64_t remembered(ControlArgument argument, std::int64_t value) {
    const bool isFlag = argument == ControlArgument::truth || argument == ControlArgument::number;
    return isFlag ? static_cast<std::int8_t>(value) : value;
}

} // namespace

void KTUVCManager::setControlWithComplitionHandle(KTUVCControl control, std::int64_t value,
                                                  const ComplitionHandle& handle) {
    const ControlRow& row = controlRow(control);
    if (row.argument == ControlArgument::pair)
        setPanTiltWithComplitionHandle(value, handle);
    else
        setScalar(row, value, handle);
}

void KTUVCManager::setScalar(const ControlRow& row, std::int64_t value, const ComplitionHandle& handle) {
    bool success = false;
    if (const Record target = record(row.control)) {
        const std::int64_t previous = remembered(row.argument, target->val());
        target->setVal(accepted(row.argument, value));
        success = _pushParamToDevice(target.get());
        if (!success) target->setVal(previous);
    }
    if (handle) handle(success);
}

void KTUVCManager::setRelativeZoomWithComplitionHandle(std::int64_t /*value*/,
                                                       const ComplitionHandle& /*handle*/) {}

void KTUVCManager::setPanTiltWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
    // Unlike a scalar's, the record is written after the push.
    bool success = false;
    if (const Record target = panTilt()) {
        const std::int64_t previous = target->val();
        success = _push2x4ByteValueParamToDevice(value, target.get());
        target->setVal(success ? value : previous);
    }
    if (handle) handle(success);
}

void KTUVCManager::setPanWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
    const std::int64_t previous = panTilt() ? panTilt()->val() : 0;
    setPanTiltWithComplitionHandle(joined(value, KTUVCParameters::second32BitValueFrom64BitValue(previous)),
                                   handle);
}

void KTUVCManager::setTiltWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
    const std::int64_t previous = panTilt() ? panTilt()->val() : 0;
    setPanTiltWithComplitionHandle(joined(previous, value), handle);
}

bool KTUVCManager::_pushParamToDevice(const KTUVCParameters* record) {
    if (record == nullptr || !record->controlInfo()) return false;
    const std::int32_t size = record->actualSize();
    if (size <= 0 || size > longestScalar) return false;

    std::array<std::uint8_t, longestScalar> buffer{};
    const auto bytes = std::span(buffer).first(static_cast<std::size_t>(size));
    putLittleEndian(record->val(), bytes);
    return _setBytesSizedToControl(bytes.data(), bytes.size(), *record->controlInfo());
}

bool KTUVCManager::_push2x4ByteValueParamToDevice(std::int64_t value, const KTUVCParameters* record) {
    std::array<std::uint8_t, maxValueSize> bytes{};
    if (record == nullptr || !record->controlInfo()) return false;
    if (record->actualSize() != static_cast<std::int32_t>(bytes.size())) return false;

    putLittleEndian(value, bytes);
    return _setBytesSizedToControl(bytes.data(), bytes.size(), *record->controlInfo());
}

bool KTUVCManager::controlSupported(KTUVCControl control) const {
    const Record& manual = record(control);
    if (!manual || !manual->supported()) return false;

    const std::optional<AutomaticControl>& rule = controlRow(control).automatic;
    if (!rule) return true;
    const Record& automatic = record(rule->control);
    return !automatic || !automatic->supported() || automatic->val() == rule->manualValue;
}

} // namespace tavelo
