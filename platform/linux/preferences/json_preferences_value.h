// SPDX-License-Identifier: MIT
// Values of the preferences as JSON.
#pragma once

#include <optional>

#include <QJsonValue>

#include "platform/preferences_store.h"

namespace tavelo {

/// Integers keep their 64 bits and booleans stay booleans.  JSON knows one kind of number: a double without a
/// fraction reads back as an integer.  A number that is not finite becomes null.  Reentrant.
QJsonValue toJson(const PreferencesValue& value);

/// Nothing for null.  Within a dictionary null is an absent key, within an array an empty text, so that what
/// follows keeps its position.  Reentrant.
std::optional<PreferencesValue> fromJson(const QJsonValue& json);

} // namespace tavelo
