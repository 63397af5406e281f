// SPDX-License-Identifier: MIT
// Whether the control panel runs.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace tavelo {

/// The name that a running panel owns on the session bus.
QString panelBusName();

/// Whether a panel runs in this session, with its window shown or hidden.  False also if there is no session
/// bus.  Main thread; asks the bus and waits for its answer.
bool panelRuns(const QDBusConnection& bus = QDBusConnection::sessionBus());

} // namespace tavelo
