// SPDX-License-Identifier: MIT
#include "app/single_instance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace tavelo {
namespace {

// The desktop file has the same name; desktops rely on that.
const QString serviceName = QStringLiteral("org.tavelo.ControlPanel");
const QString objectPath = QStringLiteral("/org/tavelo/ControlPanel");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");

// What lets the first process raise its window although the user acted elsewhere.
QVariantMap platformData() {
    QVariantMap data;
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    const QString startupId = qEnvironmentVariable("DESKTOP_STARTUP_ID");
    if (!token.isEmpty()) data.insert(QStringLiteral("activation-token"), token);
    if (!startupId.isEmpty()) data.insert(QStringLiteral("desktop-startup-id"), startupId);
    return data;
}

} // namespace

SingleInstance::SingleInstance() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    new ApplicationAdaptor(*this); // a child of this object
    bus.registerObject(objectPath, this);
    const auto reply =
        bus.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) return;
    role_ = reply.value() == QDBusConnectionInterface::ServiceRegistered ? Role::first : Role::second;
}

bool SingleInstance::activateFirst() const {
    QDBusMessage call = QDBusMessage::createMethodCall(serviceName, objectPath, applicationInterface,
                                                       QStringLiteral("Activate"));
    call << platformData();
    return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage;
}

ApplicationAdaptor::ApplicationAdaptor(SingleInstance& instance)
    : QDBusAbstractAdaptor(&instance),
      instance_(instance) {}

void ApplicationAdaptor::Activate(const QVariantMap& platformData) {
    // Qt takes the token from the environment at the window's next activation.
    const QString token = platformData.value(QStringLiteral("activation-token")).toString();
    if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    Q_EMIT instance_.reopened();
}

} // namespace tavelo
