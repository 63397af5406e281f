// SPDX-License-Identifier: MIT
#include "commands/control_state.h"

#include <algorithm>
#include <memory>
#include <span>
#include <utility>

#include "commands/unit_control.h"
#include "uvc/value_coding.h"

namespace tavelo {
namespace {

const NamedControl* namedIfSupported(const KTUVCManager& manager, KTUVCControl control) {
    return manager.record(control)->supported() ? &namedControl(control) : nullptr;
}

// GET_RES: the step of a number, the sum of a choice's values.
std::optional<std::int64_t> resolution(KTUVCManager& manager, const NamedControl& control,
                                       const KTUVCControlInfo& info) {
    std::unique_ptr<std::uint8_t[]> bytes;
    const std::int32_t count = manager._requestValTypeForControlReturnVal(UvcRequest::getRes, info, bytes);
    if (count <= 0 || !bytes) return {};
    return shareOf(control, overlaid(0, std::span(bytes.get(), static_cast<std::size_t>(count))));
}

void addChoices(ControlState& state, KTUVCManager& manager, const KTUVCControlInfo& info, bool ask) {
    const bool isBitMap = state.control->control == KTUVCControl::autoExposureMode;
    const auto offered = isBitMap && ask ? resolution(manager, *state.control, info) : std::nullopt;
    for (const ChoiceWord& choice : state.control->words) {
        const bool isOffered = isBitMap
                                   ? !offered || (*offered & choice.value) != 0 || choice.value == state.value
                                   : !state.maximum || choice.value <= *state.maximum;
        if (isOffered) state.choices.push_back(choice);
    }
}

void addRulers(ControlState& state, const KTUVCManager& manager, const ControlRow& row) {
    if (row.automatic) {
        state.automatic = namedIfSupported(manager, row.automatic->control);
        state.isAutomatic = !manager.controlSupported(row.control);
    }
    for (const NamedControl& other : namedControls()) {
        const ControlRow& otherRow = controlRow(*other.control);
        if (otherRow.automatic && otherRow.automatic->control == row.control &&
            manager.record(otherRow.control)->supported())
            state.rules.push_back(&other);
    }
}

std::optional<ControlState> classControlState(KTUVCManager& manager, const NamedControl& control,
                                              const ControlRow& row, bool withStep) {
    const KTUVCParameters& record = *manager.record(row.control);
    if (!record.supported()) return {};
    const KTUVCControlInfo& info = *record.controlInfo();
    ControlState state;
    state.control = &control;
    state.value = shareOf(control, record.val());
    if (info.hasMin()) state.minimum = shareOf(control, record.min());
    if (info.hasMax()) state.maximum = shareOf(control, record.max());
    if (info.hasDef()) state.defaultValue = shareOf(control, record.def());
    if (!control.words.empty())
        addChoices(state, manager, info, withStep);
    else if (withStep)
        state.step = resolution(manager, control, info);
    addRulers(state, manager, row);
    return state;
}

} // namespace

std::optional<ControlState> controlState(KTUVCManager& manager, const NamedControl& control, bool withStep) {
    if (control.extension != nullptr) return unitControlState(manager, control, withStep);
    return classControlState(manager, control, controlRow(control.control.value()), withStep);
}

bool hasControls(KTUVCManager& manager, const ControlCatalog& catalog) {
    if (manager.isControllable()) return true;
    return std::ranges::any_of(catalog.controlsOf(manager.device().get()), [&](const NamedControl* control) {
        return control->extension != nullptr && controlState(manager, *control, false).has_value();
    });
}

std::vector<ControlState> controlStates(KTUVCManager& manager, const ControlCatalog& catalog) {
    std::vector<ControlState> states;
    for (const NamedControl* control : catalog.controlsOf(manager.device().get()))
        if (auto state = controlState(manager, *control, true)) states.push_back(std::move(*state));
    return states;
}

std::string absenceText(KTUVCManager& manager, const NamedControl& control) {
    std::string reason = control.extension != nullptr ? unitAbsence(manager, control) : std::string();
    if (!reason.empty()) return reason;
    reason = "the camera has no " + std::string(control.name);
    if (!manager.recordsAreRead()) reason += ", or did not answer when it was read";
    return reason;
}

} // namespace tavelo
