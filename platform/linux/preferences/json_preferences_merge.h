// SPDX-License-Identifier: MIT
// Brings together what several programs changed in the preferences.
#pragma once

#include <map>

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

namespace tavelo {

/// What was set under one key, and what was known of it before.
struct JsonChange {
    QJsonValue base; ///< undefined if the key was absent
    QJsonValue value;
};
using JsonChanges = std::map<QString, JsonChange>;

/// The file's content with the changes in it.  Within a key only those entries of dictionaries and arrays
/// change that differ from the base; others stay as the file has them.  If an entry was changed on both
/// sides, ours wins.  Reentrant.
QJsonObject withChanges(QJsonObject content, const JsonChanges& changes);

} // namespace tavelo
