// SPDX-License-Identifier: MIT
#include "commands/unit_control.h"

#include <memory>

#include "extensions/unit_access.h"

namespace tavelo {
namespace {

std::optional<UnitConnection> connectionTo(KTUVCManager& manager, const ExtensionControl& control) {
    const std::shared_ptr<const BusProberDevice> camera = manager.device();
    const ExtensionUnit* unit = unitOf(camera.get(), control);
    if (unit == nullptr) return std::nullopt;
    return UnitConnection(
        [&manager](UsbControlRequest& request) { return manager._sendControlRequest(request); },
        static_cast<std::uint8_t>(manager.interfaceNumber()), unit->id);
}

void addRange(ControlState& state, const UnitConnection& connection, const ExtensionControl& control) {
    const auto either = [&](const std::optional<std::int64_t>& described, UvcRequest request) {
        return described ? described : connection.read(control, request);
    };
    state.defaultValue = either(control.defaultValue, UvcRequest::getDef);
    if (control.form != ExtensionForm::number) return;
    state.minimum = either(control.minimum, UvcRequest::getMin);
    state.maximum = either(control.maximum, UvcRequest::getMax);
    state.step = either(control.step, UvcRequest::getRes);
    if (state.step && *state.step < 1) state.step.reset();
    // Cameras that answer anything to what they do not have.
    if (state.minimum && state.maximum && *state.minimum >= *state.maximum) {
        state.minimum.reset();
        state.maximum.reset();
    }
}

} // namespace

std::optional<ControlState> unitControlState(KTUVCManager& manager, const NamedControl& control,
                                             bool withRange) {
    const ExtensionControl& described = *control.extension;
    const auto connection = connectionTo(manager, described);
    if (!connection || connection->accessTo(described).kind != UnitAccess::Kind::usable) return {};
    const auto value = connection->read(described, UvcRequest::getCur);
    if (!value) return {};
    ControlState state;
    state.control = &control;
    state.value = *value;
    state.lowest = described.field.lowest();
    state.highest = described.field.highest();
    state.choices.assign(control.words.begin(), control.words.end());
    if (withRange) addRange(state, *connection, described);
    return state;
}

std::string unitAbsence(KTUVCManager& manager, const NamedControl& control) {
    const ExtensionControl& described = *control.extension;
    const auto connection = connectionTo(manager, described);
    if (!connection) return {};
    const std::string name(control.name);
    const UnitAccess access = connection->accessTo(described);
    switch (access.kind) {
        case UnitAccess::Kind::otherLength:
            return name + ": its value has " + std::to_string(access.length) + " bytes in this camera, and " +
                   std::to_string(described.length) + " in its description";
        case UnitAccess::Kind::incapable:
            return name + ": the camera does not let it be read and set";
        case UnitAccess::Kind::usable:
        case UnitAccess::Kind::failed:
            break;
    }
    return name + ": the camera does not answer";
}

std::optional<std::int64_t> writeUnitControl(KTUVCManager& manager, const NamedControl& control,
                                             std::int64_t value) {
    const auto connection = connectionTo(manager, *control.extension);
    return connection ? connection->write(*control.extension, value) : std::nullopt;
}

} // namespace tavelo
