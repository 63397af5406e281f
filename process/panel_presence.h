// SPDX-License-Identifier: MIT
// Whether the control panel is open.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace tavelo {

/// The name that an open panel owns on the session bus.
QString panelBusName();

/// False also if there is no session bus.  Main thread; asks the bus and waits for its answer.
bool panelIsOpen(const QDBusConnection& bus = QDBusConnection::sessionBus());

} // namespace tavelo
