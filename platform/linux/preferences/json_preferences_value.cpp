// SPDX-License-Identifier: MIT
#include "platform/linux/preferences/json_preferences_value.h"

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

#include <QJsonArray>
#include <QJsonObject>
#include <QVariant>

namespace tavelo {
namespace {

struct ToJson {
    QJsonValue operator()(bool value) const { return value; }
    QJsonValue operator()(std::int64_t value) const { return static_cast<qint64>(value); }
    QJsonValue operator()(double value) const { return value; }
    QJsonValue operator()(const std::string& value) const { return QString::fromStdString(value); }

    QJsonValue operator()(const PreferencesArray& values) const {
        QJsonArray array;
        for (const PreferencesValue& value : values)
            array.append(toJson(value));
        return array;
    }

    QJsonValue operator()(const PreferencesDictionary& values) const {
        QJsonObject object;
        for (const auto& [key, value] : values)
            object.insert(QString::fromStdString(key), toJson(value));
        return object;
    }
};

PreferencesArray fromJson(const QJsonArray& array) {
    PreferencesArray values;
    for (const auto& element : array) {
        values.push_back(tavelo::fromJson(element).value_or(PreferencesValue{std::string()}));
    }
    return values;
}

PreferencesDictionary fromJson(const QJsonObject& object) {
    PreferencesDictionary values;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (auto value = tavelo::fromJson(entry.value())) {
            values.emplace(entry.key().toStdString(), std::move(*value));
        }
    }
    return values;
}

} // namespace

QJsonValue toJson(const PreferencesValue& value) {
    return std::visit(ToJson(), value.value);
}

std::optional<PreferencesValue> fromJson(const QJsonValue& json) {
    switch (json.type()) {
        case QJsonValue::Bool:
            return PreferencesValue{json.toBool()};
        case QJsonValue::Double:
            // Qt remembers what was written as an integer, but tells only through QVariant.
            if (json.toVariant().typeId() == QMetaType::LongLong) {
                return PreferencesValue{std::int64_t{json.toInteger()}};
            }
            return PreferencesValue{json.toDouble()};
        case QJsonValue::String:
            return PreferencesValue{json.toString().toStdString()};
        case QJsonValue::Array:
            return PreferencesValue{fromJson(json.toArray())};
        case QJsonValue::Object:
            return PreferencesValue{fromJson(json.toObject())};
        default:
            return std::nullopt;
    }
}

} // namespace tavelo
