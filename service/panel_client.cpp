// SPDX-License-Identifier: MIT
#include "service/panel_client.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QEventLoop>
#include <QFile>
#include <utility>

#include "service/bus_names.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

constexpr int patience = 30'000;     // ms; the panel waits for pictures before it answers
constexpr int briefPatience = 1'000; // ms

// The panel ended meanwhile, or is one without this interface.
bool runsNoService(const QDBusError& error) {
    switch (error.type()) {
        case QDBusError::ServiceUnknown:
        case QDBusError::UnknownInterface:
        case QDBusError::UnknownMethod:
        case QDBusError::UnknownObject:
            return true;
        default: // Qt has no type for it
            return error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    }
}

} // namespace

PanelClient::PanelClient(QDBusConnection bus) : bus_(std::move(bus)) {}

// Without an address libdbus would start a bus.
QDBusConnection PanelClient::sessionBusIfAny() {
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool hasBus = !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
                        (!folder.isEmpty() && QFile::exists(folder + QStringLiteral("/bus")));
    return hasBus ? QDBusConnection::sessionBus() : QDBusConnection(QStringLiteral("no bus"));
}

bool PanelClient::panelRuns() const {
    if (!bus_.isConnected()) return false;
    return bus_.interface()->isServiceRegistered(bus_names::service).value();
}

bool PanelClient::panelShowsCamera() const {
    if (!bus_.isConnected()) return false;
    QDBusMessage message = QDBusMessage::createMethodCall(bus_names::service, bus_names::object,
                                                          QStringLiteral("org.freedesktop.DBus.Properties"),
                                                          QStringLiteral("Get"));
    message.setArguments({QString(bus_names::interface), QStringLiteral("ShownCamera")});
    message.setAutoStartService(false);
    // No event loop, unlike call(): who asks may not expect that a camera goes meanwhile.
    const QDBusReply<QDBusVariant> shown = bus_.call(message, QDBus::Block, briefPatience);
    if (shown.isValid()) return !shown.value().variant().toString().isEmpty();
    return !runsNoService(shown.error());
}

std::optional<ServiceError> PanelClient::snapshot(const std::string& camera, const std::string& file) {
    return call(QStringLiteral("Snapshot"), {QString::fromStdString(camera), QString::fromStdString(file)});
}

std::optional<ServiceError> PanelClient::call(const QString& method, const QVariantList& arguments) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(bus_names::service, bus_names::object, bus_names::interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    QDBusPendingCallWatcher watcher(bus_.asyncCall(message, patience));
    // Not waitForFinished(): signals and Ctrl+C go on meanwhile.
    QEventLoop loop;
    connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished()) loop.exec();
    if (!watcher.isError()) return {};
    const QDBusError error = watcher.error();
    if (const auto kind = errorKindNamed(error.name()))
        return ServiceError{*kind, error.message().toStdString()};
    if (runsNoService(error)) return ServiceError{Kind::notShown, "no panel with this service runs"};
    return ServiceError{Kind::failed, "the panel did not answer: " + error.message().toStdString()};
}

bool PanelClient::follow() {
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    return bus_.connect(bus_names::service, bus_names::object, bus_names::interface,
                        QStringLiteral("RecordingEnded"), this,
                        SLOT(recordingDidEnd(QString, bool, QString))) &&
           bus_.connect(daemon, QString(), daemon, QStringLiteral("NameOwnerChanged"), this,
                        SLOT(ownerDidChange(QString, QString, QString)));
}

std::optional<ServiceError> PanelClient::record(const std::string& camera, const std::string& file,
                                                double seconds) {
    file_ = QString::fromStdString(file);
    if (!follow()) return ServiceError{Kind::failed, "the session bus does not work"};
    std::optional<ServiceError> error =
        call(QStringLiteral("StartRecording"), {QString::fromStdString(camera), file_, seconds});
    if (!error) {
        hasBegun_ = true;
        if (wasStopped_) call(QStringLiteral("StopRecording"), {});
        QEventLoop loop;
        endWaiting_ = [&loop] { loop.quit(); };
        if (!ending_) loop.exec();
        endWaiting_ = {};
        if (!ending_->success) error = ServiceError{Kind::failed, ending_->reason};
    }
    return error;
}

void PanelClient::stop() {
    if (std::exchange(wasStopped_, true) || !hasBegun_) return;
    QDBusMessage message = QDBusMessage::createMethodCall(
        bus_names::service, bus_names::object, bus_names::interface, QStringLiteral("StopRecording"));
    message.setAutoStartService(false);
    bus_.send(message);
}

void PanelClient::recordingDidEnd(const QString& file, bool success, const QString& reason) {
    if (file == file_) end({success, reason.toStdString()});
}

void PanelClient::ownerDidChange(const QString& name, const QString& before, const QString& /*after*/) {
    if (name == bus_names::service && !before.isEmpty())
        end({false, "the panel ended; the file holds what was recorded until then"});
}

void PanelClient::end(Ending ending) {
    if (!ending_) ending_ = std::move(ending);
    if (endWaiting_) endWaiting_();
}

} // namespace tavelo
