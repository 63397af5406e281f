// SPDX-License-Identifier: MIT
#include "service/values.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavelo {
namespace {

constexpr qsizetype mostValues = 64;
constexpr qsizetype longestName = 64;
constexpr qsizetype longestValue = 64;

bool rulesOthers(const ControlChange& change) {
    return std::ranges::any_of(namedControls(), [&](const NamedControl& other) {
        const auto& automatic = controlRow(other.control.value()).automatic;
        return automatic && automatic->control == change.control->control;
    });
}

// Nothing if it is no whole number that a control could have.
std::optional<double> wholeNumber(const QVariant& value) {
    double number = 0;
    switch (value.typeId()) {
        case QMetaType::UChar:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
            number = value.toDouble();
            break;
        default:
            return {};
    }
    constexpr double largest = std::numeric_limits<std::uint32_t>::max();
    const bool isPossible = std::isfinite(number) && std::abs(number) <= largest; // not so with NaN
    return isPossible && number == std::floor(number) ? std::optional(number) : std::nullopt;
}

std::optional<ControlChange> changeOf(const NamedControl& control, const QVariant& value,
                                      std::string& reason) {
    using Kind = ControlChange::Kind;
    const std::string name(control.name);
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        const auto same = [&control](std::string_view /*name*/) { return &control; };
        if (text.size() <= longestValue)
            return parseControlChange(name + "=" + text.toStdString(), same, reason);
        reason = name + ": the value is too long";
        return {};
    }
    if (value.typeId() == QMetaType::Bool && isSwitch(control))
        return ControlChange{&control, Kind::absolute, value.toBool() ? 1.0 : 0.0};
    if (const auto number = wholeNumber(value)) return ControlChange{&control, Kind::absolute, *number};
    reason = name + ": the value has no type or size that this control takes";
    return {};
}

} // namespace

QVariant variantOf(const NamedControl& control, std::int64_t value) {
    if (isSwitch(control)) return value != 0;
    const auto word = std::ranges::find(control.words, value, &ChoiceWord::value);
    if (word == control.words.end()) return static_cast<qlonglong>(value);
    return QString::fromUtf8(word->word);
}

QVariantMap description(const ControlState& state) {
    const NamedControl& control = *state.control;
    QVariantMap described{{QStringLiteral("Name"), QString::fromUtf8(control.name)},
                          {QStringLiteral("Value"), variantOf(control, state.value)}};
    if (state.defaultValue)
        described.insert(QStringLiteral("Default"), variantOf(control, *state.defaultValue));
    const auto addNumber = [&](const QString& key, const std::optional<std::int64_t>& number) {
        if (number && state.choices.empty()) described.insert(key, static_cast<qlonglong>(*number));
    };
    addNumber(QStringLiteral("Minimum"), state.minimum);
    addNumber(QStringLiteral("Maximum"), state.maximum);
    addNumber(QStringLiteral("Step"), state.step);
    if (!control.unit.empty()) described.insert(QStringLiteral("Unit"), QString::fromUtf8(control.unit));
    QVariantList choices;
    for (const ChoiceWord& choice : state.choices)
        choices.append(variantOf(control, choice.value));
    if (!choices.isEmpty()) described.insert(QStringLiteral("Choices"), choices);
    if (state.automatic != nullptr) {
        described.insert(QStringLiteral("Automatic"), QString::fromUtf8(state.automatic->name));
        described.insert(QStringLiteral("IsAutomatic"), state.isAutomatic);
    }
    QStringList ruled;
    for (const NamedControl* each : state.rules)
        ruled.append(QString::fromUtf8(each->name));
    if (!ruled.isEmpty()) described.insert(QStringLiteral("Rules"), ruled);
    return described;
}

std::optional<std::vector<ControlChange>> changesOf(const QVariantMap& values, const FindControl& find,
                                                    ServiceError& error) {
    error.kind = ServiceError::Kind::invalid;
    if (values.isEmpty() || values.size() > mostValues) {
        error.text = "it takes 1 to " + std::to_string(mostValues) + " values";
        return {};
    }
    std::vector<ControlChange> changes;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const std::string name = value.key().left(longestName + 1).toStdString();
        const NamedControl* const control = value.key().size() <= longestName ? find(name) : nullptr;
        if (control == nullptr) {
            error.text = "no control is called \"" + name + "\"";
            return {};
        }
        if (std::ranges::find(changes, control, &ControlChange::control) != changes.end()) {
            error.text = std::string(control->name) + " is named twice";
            return {};
        }
        const auto change = changeOf(*control, value.value(), error.text);
        if (!change) return {};
        changes.push_back(*change);
    }
    std::stable_partition(changes.begin(), changes.end(), rulesOthers);
    return changes;
}

} // namespace tavelo
