// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/control_bank.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

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

ControlBank::ControlBank(const VirtualCameraModel& model) : exposureModes_(model.exposureModes) {
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

bool ControlBank::has(ControlAddress address) const {
    return find(address) != nullptr;
}

std::int64_t ControlBank::valueOr(ControlAddress address, std::int64_t otherwise) const {
    const State* state = find(address);
    return state != nullptr ? state->value : otherwise;
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
    const std::int64_t mode = valueOr(control::autoExposureMode, uvc::manualExposure);
    if (address == control::exposureTime)
        return mode == uvc::automaticExposure || mode == uvc::aperturePriority;
    if (address == control::iris) return mode == uvc::automaticExposure || mode == uvc::shutterPriority;
    if (address == control::focus) return valueOr(control::autoFocus, 0) != 0;
    if (address == control::hue) return valueOr(control::autoHue, 0) != 0;
    if (address == control::whiteBalance) return valueOr(control::autoWhiteBalance, 0) != 0;
    return false;
}

std::uint8_t ControlBank::info(const FirmwareControl& control) const {
    std::uint8_t bits = uvc::infoGet | uvc::infoSet;
    if (hasAutomatic(control.address)) bits |= uvc::infoAutoUpdate;
    if (disabledByAutomatic(control.address)) bits |= uvc::infoDisabledByAutomatic;
    return bits;
}

ControlBank::Result ControlBank::read(ControlAddress address, UvcRequest request) const {
    const State* state = find(address);
    if (state == nullptr) return {uvc::errorInvalidControl};
    const FirmwareControl& control = *state->control;
    const bool ranged = control.kind == ControlKind::range || control.kind == ControlKind::panTilt;
    const bool keepsValue = control.kind != ControlKind::relative;
    switch (request) {
        case UvcRequest::getInfo:
            return {0, {info(control)}};
        case UvcRequest::getLen:
            return {0, {control.size, 0}};
        case UvcRequest::getCur:
            return {0, encode(control, state->value)};
        case UvcRequest::getDef:
            if (keepsValue) return {0, encode(control, state->factory)};
            break;
        case UvcRequest::getMin:
            if (ranged) return {0, encodeBound(control, control.minimum)};
            break;
        case UvcRequest::getMax:
            if (ranged) return {0, encodeBound(control, control.maximum)};
            break;
        case UvcRequest::getRes:
            if (control.kind == ControlKind::modes) return {0, encode(control, exposureModes_)};
            if (ranged) return {0, encodeBound(control, control.resolution)};
            break;
        default:
            break;
    }
    return {uvc::errorInvalidRequest};
}

ControlBank::Result ControlBank::write(ControlAddress address, std::span<const std::uint8_t> bytes) {
    State* state = find(address);
    if (state == nullptr) return {uvc::errorInvalidControl};
    if (bytes.size() < state->control->size) return {uvc::errorUnknown};
    if (disabledByAutomatic(address)) return {uvc::errorWrongState};
    const std::int64_t value = decode(*state->control, bytes);
    if (!accepts(*state->control, value)) return {uvc::errorOutOfRange};
    Result result;
    if (state->control->kind == ControlKind::relative) {
        if (stepExposure(value)) result.set = control::exposureTime;
    } else {
        state->value = value;
        result.set = address;
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

PictureSettings ControlBank::pictureSettings() const {
    const auto number = [this](ControlAddress address) {
        const double neutral = firmwareControl(address)->defaultValue;
        if (disabledByAutomatic(address)) return neutral;
        const State* state = find(address);
        return state != nullptr ? static_cast<double>(state->value) : neutral;
    };
    PictureSettings settings;
    settings.brightness = number(control::brightness) / 64 * 0.6;
    settings.contrast = number(control::contrast) / 32;
    settings.saturation = number(control::saturation) / 64;
    settings.hue = number(control::hue) / 100;
    settings.whiteBalance = (number(control::whiteBalance) - 4600) / 1900;
    settings.gamma = number(control::gamma) / 100;
    const double stops = std::log2(number(control::exposureTime) / 156) -
                         2 * std::log2(number(control::iris) / 280) + number(control::gain) / 50 +
                         number(control::backlight) / 8;
    settings.exposure = std::exp2(std::clamp(stops / 2, -4.0, 3.0));
    settings.sharpness = number(control::sharpness) / 10;
    settings.defocus = number(control::focus) / 250;
    settings.zoom = number(control::zoom) / 100;
    const std::int64_t panTilt = valueOr(control::panTilt, 0);
    settings.pan = panOf(panTilt) / 3600.0;
    settings.tilt = tiltOf(panTilt) / 3600.0;
    settings.roll = number(control::roll);
    settings.interlaced = valueOr(control::scanningMode, 1) == 0;
    return settings;
}

} // namespace tavelo
