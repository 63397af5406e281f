// SPDX-License-Identifier: MIT
// Setters of single controls, pushes and the rule of automatic controls.
#include "uvc/kt_uvc_manager.h"

#include <array>
#include <optional>
#include <span>

#include "platform/uvc/little_endian.h"
#include "uvc/value_coding.h"

namespace tavelo {
namespace {

constexpr std::int32_t longestScalar = 4; // bytes
constexpr std::int32_t sizeOfPair = 8;
static_assert(sizeOfPair == maxValueSize);

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

/// The value to restore after a failure; for flags only its low byte, signed.
std::int64_t remembered(ControlArgument argument, std::int64_t value) {
    const bool isFlag = argument == ControlArgument::truth || argument == ControlArgument::number;
    return isFlag ? static_cast<std::int8_t>(value) : value;
}

} // namespace

void KTUVCManager::setControlWithComplitionHandle(KTUVCControl control, std::int64_t value,
                                                  const ComplitionHandle& handle) {
    const bool success = setControl(controlRow(control), value, std::nullopt);
    if (handle) handle(success);
}

bool KTUVCManager::setControl(const ControlRow& row, std::int64_t value, Only only) {
    if (row.argument != ControlArgument::pair) return setScalar(row, value, only);
    return setPair([value](std::int64_t) { return value; }, only);
}

bool KTUVCManager::setScalar(const ControlRow& row, std::int64_t value, Only only) {
    const Record target = record(row.control);
    if (!target || !target->controlInfo()) return false;
    const std::int64_t wanted = accepted(row.argument, value);
    std::int64_t previous = 0;
    std::int32_t size = 0;
    WriteMarks::Write mark(writeMarks_, row.control);
    // The record holds the new value while it is being sent.
    const auto binding = binding_.forWriting(only, [&] {
        previous = remembered(row.argument, target->val());
        size = target->actualSize();
        target->setVal(wanted);
        mark.begin();
    });
    if (!binding) return false;

    const bool isSendable = size > 0 && size <= longestScalar;
    const std::optional<std::int64_t> taken =
        isSendable ? push(*binding, *target->controlInfo(), static_cast<std::size_t>(size), wanted)
                   : std::nullopt;
    // By now the record may belong to another camera or hold a newer value from another thread.
    binding_.ifCurrent(binding->identity, [&] {
        if (target->val() == wanted) target->setVal(taken.value_or(previous));
    });
    return taken.has_value();
}

void KTUVCManager::setRelativeZoomWithComplitionHandle(std::int64_t /*value*/,
                                                       const ComplitionHandle& /*handle*/) {}

bool KTUVCManager::setPair(const std::function<std::int64_t(std::int64_t held)>& next, Only only) {
    const Record target = panTilt();
    if (!target || !target->controlInfo()) return false;
    std::int64_t wanted = 0;
    std::int32_t size = 0;
    WriteMarks::Write mark(writeMarks_, KTUVCControl::panTilt);
    const auto binding = binding_.forWriting(only, [&] {
        wanted = next(target->val());
        size = target->actualSize();
        mark.begin();
    });
    if (!binding || size != sizeOfPair) return false;

    // Unlike a scalar's, the record is written after the push.
    const auto taken = push(*binding, *target->controlInfo(), maxValueSize, wanted);
    if (taken) binding_.ifCurrent(binding->identity, [&] { target->setVal(*taken); });
    return taken.has_value();
}

void KTUVCManager::setPanTiltWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
    setControlWithComplitionHandle(KTUVCControl::panTilt, value, handle);
}

void KTUVCManager::setPanWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
    const bool success = setPair(
        [value](std::int64_t held) {
            return joined(value, KTUVCParameters::second32BitValueFrom64BitValue(held));
        },
        std::nullopt);
    if (handle) handle(success);
}

void KTUVCManager::setTiltWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
    const bool success = setPair([value](std::int64_t held) { return joined(held, value); }, std::nullopt);
    if (handle) handle(success);
}

std::optional<std::int64_t> KTUVCManager::push(const CameraBinding& binding, const KTUVCControlInfo& control,
                                               std::size_t size, std::int64_t value) {
    std::array<std::uint8_t, maxValueSize> buffer{};
    const auto bytes = std::span(buffer).first(size);
    putLittleEndian(static_cast<std::uint64_t>(value), bytes);
    const auto asked = buffer;
    if (!write(binding, bytes, control.unit(), control.selector())) return std::nullopt;
    // If the camera took the value unchanged, keep what the caller passed, even if it has more bits.
    return buffer == asked ? value : integerOf(bytes, control.isSigned());
}

bool KTUVCManager::_pushParamToDevice(const KTUVCParameters* record) {
    if (record == nullptr || !record->controlInfo()) return false;
    const std::int32_t size = record->actualSize();
    if (size <= 0 || size > longestScalar) return false;
    return push(binding_.get(), *record->controlInfo(), static_cast<std::size_t>(size), record->val())
        .has_value();
}

bool KTUVCManager::_push2x4ByteValueParamToDevice(std::int64_t value, const KTUVCParameters* record) {
    if (record == nullptr || !record->controlInfo() || record->actualSize() != sizeOfPair) return false;
    return push(binding_.get(), *record->controlInfo(), maxValueSize, value).has_value();
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
