// SPDX-License-Identifier: MIT
#include "app/single_instance.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <utility>

#include "service/bus_names.h"

namespace tavelo {
namespace {

const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
const QString activationToken = QStringLiteral("activation-token");

constexpr int replyPatience =
    10'000; // ms; a first process that has only just started answers with its window

constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";

// The activation token of the click that started this process allows the first process to raise its window.
QVariantMap platformData() {
    const QString token = qEnvironmentVariable(tokenVariable);
    if (token.isEmpty()) return {};
    return {{activationToken, token}};
}

} // namespace

SingleInstance::SingleInstance(QDBusConnection bus, Purpose purpose) : bus_(std::move(bus)) {
    if (!bus_.isConnected()) return;
    // Registered before the name, so that nobody finds the name without the object.
    new ApplicationAdaptor(*this); // a child of this object, like the next
    busAdaptor_ = new BusAdaptor(*this, bus_);
    bus_.registerObject(bus_names::object, this);
    // The library itself reports the loss of the connection, as if a message had come.
    const QString local = QStringLiteral("org.freedesktop.DBus.Local");
    bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"), local,
                 QStringLiteral("Disconnected"), this, SIGNAL(busWasLost()));
    QDBusConnectionInterface& daemon = *bus_.interface();
    const bool hasNoWindow = purpose == Purpose::serviceWithoutWindow;
    const auto reply = daemon.registerService(bus_names::service,
                                              hasNoWindow ? QDBusConnectionInterface::DontQueueService
                                                          : QDBusConnectionInterface::ReplaceExistingService,
                                              hasNoWindow ? QDBusConnectionInterface::AllowReplacement
                                                          : QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) return;
    role_ = reply.value() == QDBusConnectionInterface::ServiceRegistered ? Role::first : Role::second;
    connect(&daemon, &QDBusConnectionInterface::serviceUnregistered, this, [this](const QString& name) {
        if (name == bus_names::service) Q_EMIT replaced();
    });
}

SingleInstance::~SingleInstance() {
    if (!bus_.isConnected()) return;
    letGoOfName();
    bus_.unregisterObject(bus_names::object);
}

void SingleInstance::letGoOfName() {
    if (role_ != Role::first) return;
    disconnect(bus_.interface(), nullptr, this, nullptr);
    bus_.interface()->unregisterService(bus_names::service);
}

QString SingleInstance::activateFirst() {
    QDBusMessage call = QDBusMessage::createMethodCall(bus_names::service, bus_names::object,
                                                       applicationInterface, QStringLiteral("Activate"));
    call << platformData();
    const QDBusMessage answer = bus_.call(call, QDBus::Block, replyPatience);
    if (answer.type() == QDBusMessage::ReplyMessage) return {};
    if (QDBusError(answer).type() != QDBusError::NoReply) return answer.errorMessage();
    const uint process = bus_.interface()->servicePid(bus_names::service);
    return QStringLiteral("process %1 has been silent for %2 seconds").arg(process).arg(replyPatience / 1000);
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
