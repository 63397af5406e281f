// SPDX-License-Identifier: MIT
#include "app/resources/string_table.h"

#include <utility>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tavelo {

StringTable stringTableOf(std::string localization, std::string_view json) {
    const QJsonObject object =
        QJsonDocument::fromJson(QByteArray::fromRawData(json.data(), static_cast<qsizetype>(json.size())))
            .object();
    StringTable table{std::move(localization), object.value(QLatin1String("menu_position")).toInt(), {}};
    for (auto entry = object.begin(); entry != object.end(); ++entry)
        if (entry.value().isString())
            table.texts.emplace(entry.key().toStdString(), entry.value().toString().toStdString());
    return table;
}

} // namespace tavelo
