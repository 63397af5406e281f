// SPDX-License-Identifier: MIT
#include "app/single_instance.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <utility>

#include "process/panel_presence.h"

namespace tavelo {
namespace {

const QString objectPath = QStringLiteral("/org/tavelo/ControlPanel");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
const QString activationToken = QStringLiteral("activation-token");

constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";

// The activation token of the click that started this process allows the first process to raise its window.
QVariantMap platformData() {
    const QString token = qEnvironmentVariable(tokenVariable);
    if (token.isEmpty()) return {};
    return {{activationToken, token}};
}

} // namespace

SingleInstance::SingleInstance(QDBusConnection bus) : bus_(std::move(bus)) {
    if (!bus_.isConnected()) return;
    // Registered before the name, so that nobody finds the name without the object.
    new ApplicationAdaptor(*this); // a child of this object
    bus_.registerObject(objectPath, this);
    const auto reply = bus_.interface()->registerService(panelBusName());
    if (!reply.isValid()) return;
    role_ = reply.value() == QDBusConnectionInterface::ServiceRegistered ? Role::first : Role::second;
}

SingleInstance::~SingleInstance() {
    if (!bus_.isConnected()) return;
    if (role_ == Role::first) bus_.interface()->unregisterService(panelBusName());
    bus_.unregisterObject(objectPath);
}

QString SingleInstance::activateFirst() {
    QDBusMessage call = QDBusMessage::createMethodCall(panelBusName(), objectPath, applicationInterface,
                                                       QStringLiteral("Activate"));
    call << platformData();
    const QDBusMessage answer = bus_.call(call);
    return answer.type() == QDBusMessage::ReplyMessage ? QString() : answer.errorMessage();
}

ApplicationAdaptor::ApplicationAdaptor(SingleInstance& instance)
    : QDBusAbstractAdaptor(&instance),
      instance_(instance) {}

void ApplicationAdaptor::Activate(const QVariantMap& platformData) {
    // Qt reads the token from the environment when the window next asks for the focus.
    const QString token = platformData.value(activationToken).toString();
    if (!token.isEmpty()) qputenv(tokenVariable, token.toUtf8());
    Q_EMIT instance_.reopened();
}

} // namespace tavelo
