// SPDX-License-Identifier: MIT
#include "cli/json_output.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>

namespace tavelo {
namespace {

QString nameOf(const NamedControl& control) {
    return QString::fromUtf8(control.name);
}

void addIfKnown(QJsonObject& object, const QString& key, const std::optional<std::int64_t>& number) {
    if (number) object.insert(key, static_cast<qint64>(*number));
}

QJsonObject formatJson(const CaptureFormat& format) {
    QJsonObject object{{QStringLiteral("format"), QString::fromUtf8(format.fourcc)},
                       {QStringLiteral("width"), static_cast<qint64>(format.size.width)},
                       {QStringLiteral("height"), static_cast<qint64>(format.size.height)}};
    if (format.framesPerSecond > 0)
        object.insert(QStringLiteral("frames_per_second"), std::round(format.framesPerSecond * 100) / 100);
    return object;
}

} // namespace

std::string jsonLine(QJsonObject object) {
    object.insert(QStringLiteral("version"), jsonVersion);
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString() + '\n';
}

QJsonObject cameraJson(const CaptureDevice& camera, std::size_t number) {
    QJsonArray formats;
    for (const CaptureFormat& format : camera.formats())
        formats.append(formatJson(format));
    QJsonArray users;
    const DeviceHolders holders = camera.holders();
    for (const DeviceHolder& holder : holders.seen)
        users.append(QJsonObject{{QStringLiteral("program"), QString::fromUtf8(holder.program)},
                                 {QStringLiteral("process"), static_cast<qint64>(holder.process)}});
    return {{QStringLiteral("number"), static_cast<qint64>(number)},
            {QStringLiteral("name"), QString::fromUtf8(camera.localizedName())},
            {QStringLiteral("identifier"), QString::fromUtf8(camera.uniqueID())},
            {QStringLiteral("node"), QString::fromUtf8(camera.node())},
            {QStringLiteral("place"), QString::fromUtf8(camera.place())},
            {QStringLiteral("formats"), formats},
            {QStringLiteral("open_in"), users},
            {QStringLiteral("open_in_hidden"), holders.someHidden}};
}

QJsonValue valueJson(const NamedControl& control, std::int64_t value) {
    if (isSwitch(control)) return value != 0;
    for (const ChoiceWord& choice : control.words)
        if (choice.value == value) return QString::fromUtf8(choice.word);
    return static_cast<qint64>(value);
}

std::string valueText(const QJsonValue& value) {
    if (value.isBool()) return value.toBool() ? "on" : "off";
    return value.isString() ? value.toString().toStdString() : std::to_string(value.toInteger());
}

QJsonObject controlJson(const ControlState& state) {
    const NamedControl& control = *state.control;
    QJsonObject object{{QStringLiteral("name"), nameOf(control)},
                       {QStringLiteral("value"), valueJson(control, state.value)}};
    if (state.defaultValue) object.insert(QStringLiteral("default"), valueJson(control, *state.defaultValue));
    if (state.choices.empty()) {
        addIfKnown(object, QStringLiteral("minimum"), state.minimum);
        addIfKnown(object, QStringLiteral("maximum"), state.maximum);
        addIfKnown(object, QStringLiteral("step"), state.step);
    }
    if (!control.unit.empty()) object.insert(QStringLiteral("unit"), QString::fromUtf8(control.unit));
    QJsonArray choices;
    for (const ChoiceWord& choice : state.choices)
        choices.append(valueJson(control, choice.value));
    if (!choices.isEmpty()) object.insert(QStringLiteral("choices"), choices);
    if (state.automatic != nullptr) {
        object.insert(QStringLiteral("automatic"), nameOf(*state.automatic));
        object.insert(QStringLiteral("is_automatic"), state.isAutomatic);
    }
    QJsonArray rules;
    for (const NamedControl* each : state.rules)
        rules.append(nameOf(*each));
    if (!rules.isEmpty()) object.insert(QStringLiteral("rules"), rules);
    return object;
}

} // namespace tavelo
