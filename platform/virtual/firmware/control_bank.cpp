// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/control_bank.h"

#include <algorithm>
#include <iterator>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/control_effects.h"

namespace tavelo {
namespace {

// For pan/tilt `number` is used for both halves.
std::vector<std::uint8_t> encode(const FirmwareControl& control, std::int64_t number) {
    std::vector<std::uint8_t> bytes;
    appendLittleEndian(bytes, static_cast<std::uint64_t>(number), control.size);
    return bytes;
}

std::vector<std::uint8_t> encodeBound(const FirmwareControl& control, std::int32_t bound) {
    return encode(control, control.kind == ControlKind::panTilt ? packPanTilt(bound, bound) : bound);
}

std::int64_t decode(const FirmwareControl& control, std::span<const std::uint8_t> bytes) {
    return integerOf(bytes.first(control.size), control.isSigned);
}

bool within(const FirmwareControl& control, std::int64_t value) {
    return value >= control.minimum && value <= control.maximum;
}

bool hasAutomatic(ControlAddress address) {
    return address == control::exposureTime || address == control::iris || address == control::focus ||
           address == control::hue || address == control::whiteBalance;
}

} // namespace

ControlBank::ControlBank(const VirtualCameraModel& model)
    : terminalID_(model.terminalID),
      unitID_(model.unitID),
      outputTerminalID_(model.outputTerminalID),
      extensionUnitID_(model.extensionUnitID),
      exposureModes_(model.exposureModes) {
    for (const FirmwareControl& row : firmwareControls()) {
        const bool terminal = row.address.entity == UvcEntity::cameraTerminal;
        const std::uint32_t map = terminal ? model.terminalControls : model.unitControls;
        if ((map & controlBit(row.address)) == 0) continue;
        std::int64_t factory = row.defaultValue;
        for (const auto& [address, value] : model.factorySettings)
            if (address == row.address) factory = value;
        states_.push_back({&row, factory, factory});
    }
}

bool ControlBank::isExtensionUnit(std::uint8_t entity) const {
    return extensionUnitID_ != 0 && entity == extensionUnitID_;
}

const ControlBank::State* ControlBank::find(ControlAddress address) const {
    const auto found =
        std::ranges::find_if(states_, [&](const State& state) { return state.control->address == address; });
    return found != states_.end() ? std::to_address(found) : nullptr;
}

ControlBank::State* ControlBank::find(ControlAddress address) {
    const auto found =
        std::ranges::find_if(states_, [&](const State& state) { return state.control->address == address; });
    return found != states_.end() ? std::to_address(found) : nullptr;
}

std::uint8_t ControlBank::entityError(std::uint8_t entity) const {
    if (entity == terminalID_ || entity == unitID_ || isExtensionUnit(entity)) return uvc::errorNone;
    return entity == outputTerminalID_ ? uvc::errorInvalidControl : uvc::errorInvalidUnit;
}

std::optional<ControlAddress> ControlBank::addressOf(std::uint8_t entity, std::uint8_t selector) const {
    if (entity == terminalID_) return ControlAddress{UvcEntity::cameraTerminal, selector};
    if (entity == unitID_) return ControlAddress{UvcEntity::processingUnit, selector};
    return std::nullopt;
}

bool ControlBank::lists(std::uint8_t entity, std::uint8_t selector) const {
    if (isExtensionUnit(entity)) return VirtualUnit::lists(selector);
    const auto address = addressOf(entity, selector);
    return address && find(*address) != nullptr;
}

bool ControlBank::accepts(const FirmwareControl& control, std::int64_t value) const {
    switch (control.kind) {
        case ControlKind::range:
        case ControlKind::toggle:
            return within(control, value);
        case ControlKind::modes:
            return value > 0 && (value & (value - 1)) == 0 && (value & exposureModes_) == value;
        case ControlKind::relative:
            return true;
        case ControlKind::panTilt:
            return within(control, panOf(value)) && within(control, tiltOf(value));
    }
    return false;
}

bool ControlBank::disabledByAutomatic(ControlAddress address) const {
    return isRuledByAutomatic(address, [this](ControlAddress other) { return value(other); });
}

std::uint8_t ControlBank::info(const FirmwareControl& control) const {
    std::uint8_t bits = uvc::infoGet | uvc::infoSet;
    if (hasAutomatic(control.address)) bits |= uvc::infoAutoUpdate;
    if (disabledByAutomatic(control.address)) bits |= uvc::infoDisabledByAutomatic;
    return bits;
}

ControlResult ControlBank::read(std::uint8_t entity, std::uint8_t selector, UvcRequest request) const {
    if (isExtensionUnit(entity)) return unit_.read(selector, request);
    const auto address = addressOf(entity, selector);
    const State* state = address ? find(*address) : nullptr;
    if (state == nullptr) return ControlResult::stall(uvc::errorInvalidControl);
    const FirmwareControl& control = *state->control;
    const bool ranged = control.kind == ControlKind::range || control.kind == ControlKind::panTilt;
    const bool keepsValue = control.kind != ControlKind::relative;
    switch (request) {
        case UvcRequest::getInfo:
            return ControlResult::done({info(control)});
        case UvcRequest::getLen:
            return ControlResult::done({control.size, 0});
        case UvcRequest::getCur:
            return ControlResult::done(encode(control, state->value));
        case UvcRequest::getDef:
            if (keepsValue) return ControlResult::done(encode(control, state->factory));
            break;
        case UvcRequest::getMin:
            if (ranged) return ControlResult::done(encodeBound(control, control.minimum));
            break;
        case UvcRequest::getMax:
            if (ranged) return ControlResult::done(encodeBound(control, control.maximum));
            break;
        case UvcRequest::getRes:
            if (control.kind == ControlKind::modes)
                return ControlResult::done(encode(control, exposureModes_));
            if (ranged) return ControlResult::done(encodeBound(control, control.resolution));
            break;
        default:
            break;
    }
    return ControlResult::stall(uvc::errorInvalidRequest);
}

ControlResult ControlBank::write(std::uint8_t entity, std::uint8_t selector,
                                 std::span<const std::uint8_t> bytes) {
    if (isExtensionUnit(entity)) return unit_.write(selector, bytes);
    const auto address = addressOf(entity, selector);
    State* state = address ? find(*address) : nullptr;
    if (state == nullptr) return ControlResult::stall(uvc::errorInvalidControl);
    if (bytes.size() < state->control->size) return ControlResult::stall(uvc::errorUnknown);
    if (disabledByAutomatic(*address)) return ControlResult::stall(uvc::errorWrongState);
    const std::int64_t value = decode(*state->control, bytes);
    if (!accepts(*state->control, value)) return ControlResult::stall(uvc::errorOutOfRange);
    ControlResult result = ControlResult::done();
    if (state->control->kind == ControlKind::relative) {
        if (stepExposure(value)) result.set = control::exposureTime;
    } else {
        state->value = value;
        result.set = *address;
    }
    return result;
}

bool ControlBank::stepExposure(std::int64_t step) {
    State* exposure = find(control::exposureTime);
    if (exposure == nullptr || disabledByAutomatic(control::exposureTime)) return false;
    if (step == 0) {
        exposure->value = exposure->factory;
        return true;
    }
    if (step != 1 && step != -1) return false;
    const FirmwareControl& row = *exposure->control;
    exposure->value =
        std::clamp<std::int64_t>(exposure->value + step * row.resolution, row.minimum, row.maximum);
    return true;
}

std::optional<std::int64_t> ControlBank::value(ControlAddress address) const {
    const State* state = find(address);
    if (state == nullptr) return std::nullopt;
    return state->value;
}

bool ControlBank::setValue(ControlAddress address, std::int64_t value) {
    State* state = find(address);
    if (state == nullptr || state->control->kind == ControlKind::relative || !accepts(*state->control, value))
        return false;
    state->value = value;
    return true;
}

std::optional<ControlLimits> ControlBank::limits(ControlAddress address) const {
    const State* state = find(address);
    if (state == nullptr) return std::nullopt;
    const FirmwareControl& row = *state->control;
    return ControlLimits{row.minimum, row.maximum, row.resolution, state->factory};
}

PictureSettings ControlBank::pictureSettings() const {
    const auto number = [this](ControlAddress address) {
        const double neutral = firmwareControl(address)->defaultValue;
        if (disabledByAutomatic(address)) return neutral;
        const State* state = find(address);
        return state != nullptr ? static_cast<double>(state->value) : neutral;
    };
    return pictureSettingsOf(number, [this](ControlAddress address) { return value(address); });
}

} // namespace tavelo
