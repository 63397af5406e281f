// SPDX-License-Identifier: MIT
// Values as JSON.
#pragma once

#include <QJsonObject>
#include <string>

#include "commands/control_state.h"
#include "platform/capture.h"

namespace tavelo {

/// Of everything that --json prints; a field is only ever added within one version.
inline constexpr int jsonVersion = 1;

/// The object in one line that ends with a line feed.
std::string jsonLine(QJsonObject object);

/// A camera as `list` prints it.
/// @param number from 1
QJsonObject cameraJson(const CaptureDevice& camera, std::size_t number);

/// A control as `controls` prints it.
QJsonObject controlJson(const ControlState& state);

/// A value: a word for a choice, true or false for a switch, else a number.
QJsonValue valueJson(const NamedControl& control, std::int64_t value);

/// Such a value as people write it.
std::string valueText(const QJsonValue& value);

} // namespace tavelo
