// SPDX-License-Identifier: MIT
// Names of a bus that nobody has.
#pragma once

#include <QDBusError>

namespace tavelo {

/// Whether a call failed because no program has the name it was for.
bool isOfAbsentService(const QDBusError& error);

} // namespace tavelo
