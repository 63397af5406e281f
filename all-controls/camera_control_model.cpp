// SPDX-License-Identifier: MIT
#include "all-controls/camera_control_model.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>
#include <algorithm>
#include <utility>

#include "widgets/localized_text.h"

namespace tavelo {
namespace {

constexpr std::int64_t arcSecondsPerDegree = 3600;

/// People see degrees where the camera has arc-seconds; truncated toward zero, as on the panel.
std::int64_t unitOf(const NamedControl& control) {
    return control.half == ControlHalf::whole ? 1 : arcSecondsPerDegree;
}

QString keyOf(const NamedControl& control) {
    return QString::fromUtf8(control.name);
}

QString suffixOf(const NamedControl& control) {
    if (control.half != ControlHalf::whole || control.control == KTUVCControl::roll)
        return QStringLiteral("°");
    if (control.control == KTUVCControl::exposureTime) return QStringLiteral(" × 100 µs");
    if (control.control == KTUVCControl::whiteBalance) return QStringLiteral(" K");
    return {};
}

ControlShape kindOf(const NamedControl& control) {
    switch (controlRow(*control.control).type) {
        case KTUVCParameterType::range:
            break;
        case KTUVCParameterType::choice:
            return ControlShape::choice;
        case KTUVCParameterType::flag:
            return ControlShape::flag;
    }
    return ControlShape::range;
}

} // namespace

CameraControlModel::CameraControlModel(CameraControlParts parts) : parts_(std::move(parts)) {}

CameraControlModel::~CameraControlModel() = default;

QString CameraControlModel::text(std::string_view key) const {
    return localizedText(parts_.bundle, key);
}

QString CameraControlModel::titleOf(const NamedControl& control) const {
    // As the panel calls them.
    if (control.half == ControlHalf::pan) return text("Pan_left_right");
    if (control.half == ControlHalf::tilt) return text("Pan_up_down");
    if (control.control == KTUVCControl::bright) return text("Brightness");
    return text(controlRow(*control.control).key);
}

QString CameraControlModel::choiceText(const NamedControl& control, const ChoiceWord& choice) const {
    const auto choices = controlRow(*control.control).choices;
    const auto named = std::ranges::find(choices, choice.value, &ControlChoice::value);
    if (named != choices.end()) return named->key.empty() ? QString::fromUtf8(named->text) : text(named->key);
    if (control.control == KTUVCControl::powerLine) return text(choice.value == 0 ? "Off" : "Automatic");
    return QString::number(choice.value);
}

std::vector<ShownChoice> CameraControlModel::choicesOf(const ControlState& state) const {
    std::vector<ShownChoice> choices;
    for (const ChoiceWord& choice : state.choices)
        choices.push_back({choice.value, choiceText(*state.control, choice)});
    addIfMissing(choices, state.value);
    return choices;
}

ControlDescription CameraControlModel::described(const ControlState& state) const {
    const NamedControl& control = *state.control;
    const std::int64_t unit = unitOf(control);
    ControlDescription shown;
    shown.key = keyOf(control);
    shown.title = titleOf(control);
    shown.kind = kindOf(control);
    shown.suffix = suffixOf(control);
    shown.minimum = state.minimum.value_or(state.value) / unit;
    shown.maximum = state.maximum.value_or(state.value) / unit;
    shown.step = std::max<std::int64_t>(1, state.step.value_or(1) / unit);
    shown.value = state.value / unit;
    if (state.defaultValue) shown.defaultValue = *state.defaultValue / unit;
    if (shown.kind == ControlShape::choice) shown.choices = choicesOf(state);
    if (state.isAutomatic) shown.setBy = titleOf(*state.automatic);
    return shown;
}

ControlState CameraControlModel::withAnswers(ControlState state) const {
    if (!answers_ || answers_->binding != parts_.manager.bindingIdentity()) return state;
    const auto asked = std::ranges::find(answers_->states, state.control, &ControlState::control);
    if (asked == answers_->states.end()) return state;
    state.step = asked->step;
    state.choices = asked->choices;
    return state;
}

std::vector<ControlGroup> CameraControlModel::groups() const {
    ControlGroup terminal{text("Camera"), {}};
    ControlGroup unit{text("Image_processing"), {}};
    if (!parts_.manager.isControllable()) return {};
    for (const NamedControl& control : namedControls()) {
        auto state = controlState(parts_.manager, control, false);
        if (!state) continue;
        const bool isTerminal = controlRow(*control.control).unit == KTUVCControlInfo::cameraTerminal;
        (isTerminal ? terminal : unit).controls.push_back(described(withAnswers(std::move(*state))));
    }
    std::vector<ControlGroup> groups;
    for (ControlGroup& group : {std::ref(terminal), std::ref(unit)})
        if (!group.controls.empty()) groups.push_back(std::move(group));
    return groups;
}

bool CameraControlModel::write(const QString& key, std::int64_t value, bool held) {
    const NamedControl* const control = controlNamed(key.toStdString());
    return control != nullptr && parts_.write({control, value * unitOf(*control)}, held);
}

void CameraControlModel::ask() {
    const BindingIdentity binding = parts_.manager.bindingIdentity();
    if (asks_ || !parts_.manager.isControllable() || !parts_.manager.recordsAreRead()) return;
    if (answers_ && answers_->binding == binding) return;
    asks_ = true;
    QThreadPool::globalInstance()->start([self = QPointer(this), &manager = parts_.manager, binding] {
        auto answers =
            std::make_shared<const Answers>(Answers{binding, controlStates(manager, ControlCatalog())});
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, answers = std::move(answers)] {
                if (!self) return;
                self->asks_ = false;
                if (self->parts_.manager.bindingIdentity() != answers->binding) return self->ask();
                self->answers_ = answers;
                Q_EMIT self->changed();
            },
            Qt::QueuedConnection);
    });
}

} // namespace tavelo
