// SPDX-License-Identifier: MIT
// Converts preference values to and from JSON.
#pragma once

#include <optional>

#include <QJsonValue>

#include "platform/preferences_store.h"

namespace tavelo {

/// Integers keep their 64 bits and booleans stay booleans.  JSON has one kind of number, so a double
/// without a fraction reads back as an integer.  A number that is not finite becomes null.  Reentrant.
QJsonValue toJson(const PreferencesValue& value);

/// Nothing for null.  In a dictionary null removes its key; in an array it becomes an empty text, so that
/// later elements keep their positions.  Reentrant.
std::optional<PreferencesValue> fromJson(const QJsonValue& json);

} // namespace tavelo
