// SPDX-License-Identifier: MIT
// Merges the changes that several programs made to the preferences.
#pragma once

#include <map>

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

namespace tavelo {

/// A value that was set, and the value known before.
struct JsonChange {
    QJsonValue base; ///< undefined if the key was absent
    QJsonValue value;
};
using JsonChanges = std::map<QString, JsonChange>;

/// The file's content with the changes applied.  Within a key, only entries of dictionaries and arrays that
/// differ from the base change; the others stay as they are in the file.  If both sides changed an entry,
/// ours wins.  Reentrant.
QJsonObject withChanges(QJsonObject content, const JsonChanges& changes);

} // namespace tavelo
