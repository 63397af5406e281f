// SPDX-License-Identifier: MIT
#include "app/camera_access.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>
#include <QVariantMap>
#include <utility>

namespace tavelo {

CameraAccess::CameraAccess(QDBusConnection bus, const QString& sandboxMark)
    : bus_(std::move(bus)),
      authorized_(!QFile::exists(sandboxMark)) {}

void CameraAccess::request() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Camera"), QStringLiteral("AccessCamera"));
    call << QVariantMap();
    bus_.asyncCall(call);
}

} // namespace tavelo
