// SPDX-License-Identifier: MIT
// Controls' values as they are on the bus.
#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <cstdint>
#include <optional>
#include <vector>

#include "commands/control_change.h"
#include "service/service_error.h"

namespace tavelo {

/// A boolean for a switch, a word for a choice that has one, else an integer of 64 bits.
QVariant variantOf(const NamedControl& control, std::int64_t value);

/// A control as Controls describes it.
QVariantMap description(const ControlState& state);

/// The changes that a client asks for, automatic controls first because they rule others.  A value is one of
/// variantOf()'s types, any other whole number, or a text as in parseControlChange().  Nothing, with the
/// error, if a name or a value is wrong.
std::optional<std::vector<ControlChange>> changesOf(const QVariantMap& values, const FindControl& find,
                                                    ServiceError& error);

} // namespace tavelo
