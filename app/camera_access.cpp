// SPDX-License-Identifier: MIT
#include "app/camera_access.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>
#include <QVariantMap>

namespace tavelo {

CameraAccess::CameraAccess(const QString& sandboxMark) : authorized_(!QFile::exists(sandboxMark)) {}

void CameraAccess::request(const QDBusConnection& bus) const {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Camera"), QStringLiteral("AccessCamera"));
    call << QVariantMap();
    bus.asyncCall(call);
}

} // namespace tavelo
