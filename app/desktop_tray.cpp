// SPDX-License-Identifier: MIT
#include "app/desktop_tray.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QSystemTrayIcon>
#include <utility>

#include "service/absent_service.h"

namespace tavelo {
namespace {

// Qt asks the bus too, but waits for the answer, and asks only once in a program's life.  So it may ask only
// if the tray has just answered, or if there may be one of the X server, which is not on the bus.
bool hasTray(const QDBusPendingReply<QDBusVariant>& reply) {
    const bool mayBeThere = reply.isValid() ? reply.value().variant().toBool()
                                            : isOfAbsentService(reply.error()) &&
                                                  QGuiApplication::platformName() == QStringLiteral("xcb");
    return mayBeThere && QSystemTrayIcon::isSystemTrayAvailable();
}

} // namespace

DesktopTray::DesktopTray(QDBusConnection bus) : bus_(std::move(bus)) {}

void DesktopTray::look() {
    if (!bus_.isConnected()) return;
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    QDBusMessage call = QDBusMessage::createMethodCall(watcher, QStringLiteral("/StatusNotifierWatcher"),
                                                       QStringLiteral("org.freedesktop.DBus.Properties"),
                                                       QStringLiteral("Get"));
    call << watcher << QStringLiteral("IsStatusNotifierHostRegistered");
    call.setAutoStartService(false);
    auto* const waiting = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, waiting] {
        waiting->deleteLater();
        Q_EMIT answered(hasTray(*waiting));
    });
}

} // namespace tavelo
