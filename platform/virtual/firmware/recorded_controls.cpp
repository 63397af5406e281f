// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/recorded_controls.h"

#include <algorithm>
#include <bit>

#include "platform/uvc/descriptors.h"
#include "platform/uvc/little_endian.h"
#include "platform/virtual/firmware/control_effects.h"
#include "platform/virtual/firmware/firmware_control.h"

namespace tavelo {
namespace {

using ByteView = std::span<const std::uint8_t>;

const RawAnswer* answered(const ControlRecord& record, UvcRequest request) {
    const RawAnswer& answer = record.answerTo(request);
    return answer.kind == AnswerKind::answered && !answer.bytes.empty() ? &answer : nullptr;
}

std::size_t sizeOfValue(const ControlRecord& record, const ClassControl* known) {
    if (const RawAnswer* length = answered(record, UvcRequest::getLen)) {
        const std::size_t size = wordAt(length->bytes, 0);
        if (size > 0 && size <= longestAnswer) return size;
    }
    if (known != nullptr) return known->size;
    return record.answerTo(UvcRequest::getCur).bytes.size();
}

bool isSilence(AnswerKind kind) {
    return kind == AnswerKind::timedOut || kind == AnswerKind::skipped;
}

bool isSigned(const ClassControl& control) {
    return control.form == ValueForm::signedNumber || control.form == ValueForm::signedPair;
}

bool isBetween(ByteView value, ByteView minimum, ByteView maximum, bool isSigned) {
    const std::int64_t number = integerOf(value, isSigned);
    return number >= integerOf(minimum, isSigned) && number <= integerOf(maximum, isSigned);
}

// Maps the recorded range to that of the software camera's own control, default to default.
double rescaled(double value, double minimum, double neutral, double maximum, const FirmwareControl& own) {
    const bool upwards = value >= neutral;
    const double from = upwards ? maximum - neutral : neutral - minimum;
    const double to = upwards ? own.maximum - own.defaultValue : own.defaultValue - own.minimum;
    if (from <= 0) return own.defaultValue;
    return std::clamp<double>(own.defaultValue + (value - neutral) / from * to, own.minimum, own.maximum);
}

} // namespace

RecordedControls::RecordedControls(const VirtualCameraModel& model)
    : camera_(model.recorded),
      function_(videoFunctionOf(camera_->record.descriptors.configuration, camera_->record.controlInterface)),
      terminalID_(model.terminalID),
      unitID_(model.unitID) {
    for (const ControlRecord& record : camera_->record.controls) {
        State state;
        state.record = &record;
        if (const auto address = addressOf(record.entity, record.selector))
            state.known = classControl(*address);
        state.size = sizeOfValue(record, state.known);
        const ByteView current = record.answerTo(UvcRequest::getCur).bytes;
        state.value.assign(state.size, 0);
        std::ranges::copy(current.first(std::min(current.size(), state.size)), state.value.begin());
        states_.emplace(Key(record.entity, record.selector), std::move(state));
    }
    for (auto& [key, state] : states_)
        state.ruledThen = isRuledNow(state);
}

std::uint8_t RecordedControls::entityError(std::uint8_t entity) const {
    const auto& ids = camera_->entities;
    return std::ranges::find(ids, entity) != ids.end() ? uvc::errorNone : uvc::errorInvalidUnit;
}

std::optional<ControlAddress> RecordedControls::addressOf(std::uint8_t entity, std::uint8_t selector) const {
    const auto kind = function_.kindOf(entity);
    if (!kind) return std::nullopt;
    return ControlAddress{*kind, selector};
}

bool RecordedControls::lists(std::uint8_t entity, std::uint8_t selector) const {
    const State* state = find(entity, selector);
    return state != nullptr && state->record->listed;
}

const RecordedControls::State* RecordedControls::find(std::uint8_t entity, std::uint8_t selector) const {
    const auto found = states_.find({entity, selector});
    return found != states_.end() ? &found->second : nullptr;
}

const RecordedControls::State* RecordedControls::find(ControlAddress address) const {
    return find(address.entity == UvcEntity::cameraTerminal ? terminalID_ : unitID_, address.selector);
}

bool RecordedControls::isRuledNow(const State& state) const {
    const bool ofPicture = state.record->entity == terminalID_ || state.record->entity == unitID_;
    if (!ofPicture || state.known == nullptr) return false;
    return isRuledByAutomatic(state.known->address, [this](ControlAddress other) { return value(other); });
}

// As it was recorded, until the automatic function is switched.
bool RecordedControls::isDisabled(const State& state) const {
    const RawAnswer* info = answered(*state.record, UvcRequest::getInfo);
    if (info == nullptr) return false;
    const bool disabledThen = (info->bytes[0] & uvc::infoDisabledByAutomatic) != 0;
    const bool ruledNow = isRuledNow(state);
    return ruledNow == state.ruledThen ? disabledThen : ruledNow;
}

ControlResult RecordedControls::read(std::uint8_t entity, std::uint8_t selector, UvcRequest request) const {
    const State* state = find(entity, selector);
    if (state == nullptr) return ControlResult::stall(uvc::errorInvalidControl);
    if (placeOf(request) == controlReads.size()) return ControlResult::stall(uvc::errorInvalidRequest);
    const RawAnswer& answer = state->record->answerTo(request);
    if (isSilence(answer.kind)) return ControlResult::silence();
    if (answer.kind != AnswerKind::answered) return ControlResult::stall(uvc::errorInvalidRequest);
    std::vector<std::uint8_t> bytes = answer.bytes;
    if (request == UvcRequest::getCur)
        std::copy_n(state->value.begin(), std::min(bytes.size(), state->value.size()), bytes.begin());
    if (request == UvcRequest::getInfo && !bytes.empty()) {
        const unsigned others = bytes[0] & ~unsigned{uvc::infoDisabledByAutomatic};
        bytes[0] =
            static_cast<std::uint8_t>(others | (isDisabled(*state) ? uvc::infoDisabledByAutomatic : 0U));
    }
    return ControlResult::done(std::move(bytes));
}

ControlResult RecordedControls::write(std::uint8_t entity, std::uint8_t selector, ByteView bytes) {
    const auto found = states_.find({entity, selector});
    if (found == states_.end()) return ControlResult::stall(uvc::errorInvalidControl);
    State& state = found->second;
    if (isSilence(state.record->answerTo(UvcRequest::getCur).kind)) return ControlResult::silence();
    const RawAnswer* info = answered(*state.record, UvcRequest::getInfo);
    if (info != nullptr && (info->bytes[0] & uvc::infoSet) == 0)
        return ControlResult::stall(uvc::errorInvalidRequest);
    if (state.size == 0) return ControlResult::stall(uvc::errorInvalidRequest);
    if (bytes.size() < state.size) return ControlResult::stall(uvc::errorUnknown);
    if (isDisabled(state)) return ControlResult::stall(uvc::errorWrongState);
    bytes = bytes.first(state.size);
    if (!accepts(state, bytes)) return ControlResult::stall(uvc::errorOutOfRange);
    state.value.assign(bytes.begin(), bytes.end());
    ControlResult result = ControlResult::done();
    result.set = addressOf(entity, selector);
    return result;
}

// Nothing if neither the camera nor the class says.
std::optional<std::vector<std::uint8_t>> RecordedControls::bound(const State& state,
                                                                 UvcRequest request) const {
    const RawAnswer* answer = answered(*state.record, request);
    if (answer != nullptr && answer->bytes.size() == state.size) return answer->bytes;
    const auto ofClass = classRange(state.known->address, request, function_.classVersion);
    if (ofClass && state.size == 1) return std::vector{*ofClass};
    return std::nullopt;
}

bool RecordedControls::isWithinRange(const State& state, ByteView bytes) const {
    const auto minimum = bound(state, UvcRequest::getMin);
    const auto maximum = bound(state, UvcRequest::getMax);
    if (!minimum || !maximum) return true;
    if (state.known->form != ValueForm::signedPair)
        return isBetween(bytes, *minimum, *maximum, isSigned(*state.known));
    const std::size_t half = state.size / 2;
    return isBetween(bytes.first(half), ByteView(*minimum).first(half), ByteView(*maximum).first(half),
                     true) &&
           isBetween(bytes.subspan(half), ByteView(*minimum).subspan(half), ByteView(*maximum).subspan(half),
                     true);
}

// `bytes` has the control's size.
bool RecordedControls::accepts(const State& state, ByteView bytes) const {
    if (state.known == nullptr) return true;
    switch (state.known->form) {
        case ValueForm::number:
        case ValueForm::signedNumber:
        case ValueForm::signedPair:
        case ValueForm::toggle:
            return isWithinRange(state, bytes);
        case ValueForm::bitmap: {
            const RawAnswer* modes = answered(*state.record, UvcRequest::getRes);
            return std::has_single_bit(bytes[0]) && (modes == nullptr || (bytes[0] & modes->bytes[0]) != 0);
        }
        case ValueForm::compound:
            break;
    }
    return true;
}

std::optional<std::int64_t> RecordedControls::value(ControlAddress address) const {
    const State* state = find(address);
    if (state == nullptr || state->known == nullptr || !state->record->listed) return std::nullopt;
    if (state->size == 0 || state->size > sizeof(std::int64_t)) return std::nullopt;
    return integerOf(state->value, isSigned(*state->known));
}

bool RecordedControls::setValue(ControlAddress address, std::int64_t value) {
    if (!this->value(address)) return false;
    State& state = states_.at({find(address)->record->entity, address.selector});
    std::vector<std::uint8_t> bytes(state.size);
    putLittleEndian(static_cast<std::uint64_t>(value), bytes);
    if (integerOf(bytes, isSigned(*state.known)) != value || !accepts(state, bytes)) return false;
    state.value = std::move(bytes);
    return true;
}

std::optional<std::int64_t> RecordedControls::boundNumber(const State& state, UvcRequest request) const {
    const auto bytes = bound(state, request);
    if (!bytes) return std::nullopt;
    const std::size_t size = state.known->form == ValueForm::signedPair ? state.size / 2 : state.size;
    return integerOf(ByteView(*bytes).first(size), isSigned(*state.known));
}

std::optional<ControlLimits> RecordedControls::limits(ControlAddress address) const {
    if (!value(address)) return std::nullopt;
    const auto numberFor = [&](UvcRequest request) {
        return boundNumber(*find(address), request).value_or(0);
    };
    return ControlLimits{numberFor(UvcRequest::getMin), numberFor(UvcRequest::getMax),
                         numberFor(UvcRequest::getRes), numberFor(UvcRequest::getDef)};
}

double RecordedControls::pictureNumber(ControlAddress address) const {
    const FirmwareControl& own = *firmwareControl(address);
    const State* state = find(address);
    const auto now = value(address);
    if (!now || isDisabled(*state)) return own.defaultValue;
    const auto minimum = boundNumber(*state, UvcRequest::getMin);
    const auto maximum = boundNumber(*state, UvcRequest::getMax);
    const auto neutral = boundNumber(*state, UvcRequest::getDef);
    if (!minimum || !maximum || !neutral) return own.defaultValue;
    return rescaled(static_cast<double>(*now), static_cast<double>(*minimum), static_cast<double>(*neutral),
                    static_cast<double>(*maximum), own);
}

PictureSettings RecordedControls::pictureSettings() const {
    return pictureSettingsOf([this](ControlAddress address) { return pictureNumber(address); },
                             [this](ControlAddress address) -> std::optional<std::int64_t> {
                                 // Far outside its own range the picture would be empty.
                                 constexpr std::int32_t most = 36000;
                                 const auto now = value(address);
                                 if (!now || !(address == control::panTilt)) return now;
                                 return packPanTilt(std::clamp(panOf(*now), -most, most),
                                                    std::clamp(tiltOf(*now), -most, most));
                             });
}

} // namespace tavelo
