// SPDX-License-Identifier: MIT
#include "process/panel_presence.h"

#include <QDBusConnectionInterface>

namespace tavelo {

QString panelBusName() {
    return QStringLiteral("org.tavelo.ControlPanel"); // also that of the desktop file
}

bool panelRuns(const QDBusConnection& bus) {
    return bus.isConnected() && bus.interface()->isServiceRegistered(panelBusName()).value();
}

} // namespace tavelo
