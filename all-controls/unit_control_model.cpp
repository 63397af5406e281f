// SPDX-License-Identifier: MIT
#include "all-controls/unit_control_model.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>
#include <algorithm>
#include <string_view>
#include <utility>

#include "widgets/localized_text.h"

namespace tavelo {
namespace {

/// The string table that the bundle uses now.
std::string languageOf(const Bundle& bundle) {
    constexpr auto key = "language_name";
    for (const std::string& each : bundle.localizations())
        if (bundle.string(each, key) == bundle.localizedString(key, {})) return each;
    return {};
}

QString suffixOf(const ExtensionControl& control) {
    if (control.measure.empty() || control.measure == "°") return QString::fromUtf8(control.measure);
    return u' ' + QString::fromUtf8(control.measure);
}

ControlShape shapeOf(const ExtensionControl& control) {
    switch (control.form) {
        case ExtensionForm::number:
            break;
        case ExtensionForm::toggle:
            return ControlShape::flag;
        case ExtensionForm::choice:
            return ControlShape::choice;
    }
    return ControlShape::range;
}

ControlDescription described(const ControlState& state, std::string_view language) {
    const ExtensionControl& control = *state.control->extension;
    ControlDescription shown;
    shown.key = QString::fromUtf8(control.name);
    shown.title = QString::fromUtf8(titleIn(control.titles, language));
    shown.kind = shapeOf(control);
    shown.minimum = state.minimum.value_or(state.lowest);
    shown.maximum = state.maximum.value_or(state.highest);
    shown.step = state.step.value_or(1);
    shown.suffix = suffixOf(control);
    shown.defaultValue = state.defaultValue;
    shown.value = state.value;
    for (const ExtensionChoice& choice : control.choices)
        shown.choices.push_back({choice.value, QString::fromUtf8(titleIn(choice.titles, language))});
    if (shown.kind == ControlShape::choice) addIfMissing(shown.choices, state.value);
    return shown;
}

std::vector<ControlState> unitStates(KTUVCManager& manager, const ControlCatalog& catalog) {
    std::vector<ControlState> states;
    const std::shared_ptr<const BusProberDevice> camera = manager.device();
    for (const NamedControl* control : catalog.controlsOf(camera.get())) {
        if (control->extension == nullptr) continue;
        if (auto state = controlState(manager, *control, true)) states.push_back(std::move(*state));
    }
    return states;
}

} // namespace

UnitControlModel::UnitControlModel(UnitControlParts parts) : parts_(std::move(parts)) {}

UnitControlModel::~UnitControlModel() = default;

bool UnitControlModel::isAnswered() const {
    return !states_.empty() && parts_.manager.interface() != nullptr &&
           binding_ == parts_.manager.bindingIdentity();
}

std::vector<ControlGroup> UnitControlModel::groups() const {
    if (!isAnswered()) return {};
    ControlGroup group{localizedText(parts_.bundle, "Extras"), {}};
    const std::string language = languageOf(parts_.bundle);
    for (const ControlState& state : states_)
        group.controls.push_back(described(state, language));
    return {std::move(group)};
}

bool UnitControlModel::write(const QString& key, std::int64_t value, bool held) {
    if (!isAnswered()) return false;
    const auto state = std::ranges::find(
        states_, key, [](const ControlState& each) { return QString::fromUtf8(each.control->name); });
    if (state == states_.end()) return false;
    ++writes_;
    const auto taken = parts_.write({state->control, value}, held);
    if (!taken) return false;
    state->value = *taken;
    Q_EMIT changed();
    return true;
}

void UnitControlModel::ask() {
    asksAgain_ = asks_;
    if (asks_ || parts_.manager.interface() == nullptr || !parts_.manager.recordsAreRead()) return;
    asks_ = true;
    QThreadPool::globalInstance()->start([self = QPointer(this), &manager = parts_.manager,
                                          &catalog = parts_.catalog, writes = writes_,
                                          binding = parts_.manager.bindingIdentity()] {
        std::vector<ControlState> states = unitStates(manager, catalog);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, binding, writes, states = std::move(states)]() mutable {
                if (self) self->takeAnswer(binding, writes, std::move(states));
            },
            Qt::QueuedConnection);
    });
}

void UnitControlModel::takeAnswer(BindingIdentity binding, std::uint64_t writes,
                                  std::vector<ControlState> states) {
    asks_ = false;
    if (asksAgain_ || binding != parts_.manager.bindingIdentity() || writes != writes_) return ask();
    binding_ = binding;
    states_ = std::move(states);
    Q_EMIT changed();
}

} // namespace tavelo
