// SPDX-License-Identifier: MIT
#include "platform/linux/preferences/json_preferences_merge.h"

#include <QJsonArray>

namespace tavelo {
namespace {

QJsonValue merged(const QJsonValue& base, const QJsonValue& ours, const QJsonValue& theirs);

QJsonObject mergedObjects(const QJsonObject& base, const QJsonObject& ours, const QJsonObject& theirs) {
    QJsonObject result = theirs;
    // To insert an absent value is to remove the entry.
    for (auto entry = ours.begin(); entry != ours.end(); ++entry)
        result.insert(entry.key(), merged(base.value(entry.key()), entry.value(), theirs.value(entry.key())));
    for (auto entry = base.begin(); entry != base.end(); ++entry) {
        if (!ours.contains(entry.key())) result.remove(entry.key());
    }
    return result;
}

QJsonArray mergedArrays(const QJsonArray& base, const QJsonArray& ours, const QJsonArray& theirs) {
    QJsonArray result;
    for (qsizetype i = 0; i < ours.size(); ++i) {
        const QJsonValue known = i < base.size() ? base.at(i) : QJsonValue(QJsonValue::Undefined);
        const QJsonValue other = i < theirs.size() ? theirs.at(i) : QJsonValue(QJsonValue::Undefined);
        const QJsonValue value = merged(known, ours.at(i), other);
        result.append(value.isUndefined() ? ours.at(i) : value);
    }
    // Elements that only the file has, after our last one.
    for (qsizetype i = std::max(ours.size(), base.size()); i < theirs.size(); ++i)
        result.append(theirs.at(i));
    return result;
}

// Undefined means that the value is absent.
QJsonValue merged(const QJsonValue& base, const QJsonValue& ours, const QJsonValue& theirs) {
    if (ours == base) return theirs;
    if (ours.isObject() && theirs.isObject() && base.isObject()) {
        return mergedObjects(base.toObject(), ours.toObject(), theirs.toObject());
    }
    if (ours.isArray() && theirs.isArray() && base.isArray()) {
        return mergedArrays(base.toArray(), ours.toArray(), theirs.toArray());
    }
    return ours;
}

} // namespace

QJsonObject withChanges(QJsonObject content, const JsonChanges& changes) {
    for (const auto& [key, change] : changes) {
        const QJsonValue known = content.value(key);
        // A key that was set is there, even if another program removed it meanwhile.
        content.insert(key, known.isUndefined() ? change.value : merged(change.base, change.value, known));
    }
    return content;
}

} // namespace tavelo
