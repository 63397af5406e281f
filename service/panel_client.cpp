// SPDX-License-Identifier: MIT
#include "service/panel_client.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDBusVariant>
#include <QEventLoop>
#include <QFile>
#include <utility>

#include "service/absent_service.h"
#include "service/bus_names.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

constexpr int patience = 30'000;     // ms; the panel waits for pictures before it answers
constexpr int briefPatience = 1'000; // ms

// Goes to a panel that runs, and never starts one.
QDBusMessage callOfPanel(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(bus_names::service, bus_names::object, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

// The panel ended meanwhile, or is one without this interface.
bool runsNoService(const QDBusError& error) {
    switch (error.type()) {
        case QDBusError::UnknownInterface:
        case QDBusError::UnknownMethod:
        case QDBusError::UnknownObject:
            return true;
        default:
            return isOfAbsentService(error);
    }
}

} // namespace

PanelClient::PanelClient(QDBusConnection bus) : bus_(std::move(bus)) {}

QDBusConnection PanelClient::sessionBusIfAny() {
    // Before the first connection, so that Qt's list of types outlives the thread that reads the bus.  A
    // message that came while the program ends would otherwise print a warning about its types.
    registerBusTypes();
    // Without an address libdbus would start a bus.
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
    const QDBusMessage message =
        callOfPanel(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                    {QString(bus_names::interface), QStringLiteral("ShownCamera")});
    // No event loop, unlike call(): who asks may not expect that a camera goes meanwhile.
    const QDBusReply<QDBusVariant> shown = bus_.call(message, QDBus::Block, briefPatience);
    if (shown.isValid()) return !shown.value().variant().toString().isEmpty();
    return !runsNoService(shown.error());
}

std::optional<ServiceError> PanelClient::snapshot(const std::string& camera, const std::string& file) {
    return call(QStringLiteral("Snapshot"), {QString::fromStdString(camera), QString::fromStdString(file)});
}

std::optional<QVariantList> PanelClient::ask(const QString& method, const QVariantList& arguments,
                                             ServiceError& error) {
    QDBusPendingCallWatcher watcher(
        bus_.asyncCall(callOfPanel(bus_names::interface, method, arguments), patience));
    // Not waitForFinished(): signals and Ctrl+C go on meanwhile.
    QEventLoop loop;
    connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished()) loop.exec();
    if (!watcher.isError()) return watcher.reply().arguments();
    const QDBusError failure = watcher.error();
    if (const auto kind = errorKindNamed(failure.name()))
        error = {*kind, failure.message().toStdString()};
    else if (runsNoService(failure))
        error = {Kind::notShown, "no panel with this service runs"};
    else
        error = {Kind::failed, "the panel did not answer: " + failure.message().toStdString()};
    return {};
}

std::optional<ServiceError> PanelClient::call(const QString& method, const QVariantList& arguments) {
    ServiceError error;
    return ask(method, arguments, error) ? std::nullopt : std::optional(error);
}

std::optional<std::vector<PanelClient::Camera>> PanelClient::list(ServiceError& error) {
    const auto answer = ask(QStringLiteral("List"), {}, error);
    if (!answer) return {};
    std::vector<Camera> cameras;
    for (const QVariantMap& each : qdbus_cast<Descriptions>(answer->value(0))) {
        const auto text = [&](const QString& key) { return each[key].toString().toStdString(); };
        cameras.push_back(
            {{text(QStringLiteral("Identifier")), text(QStringLiteral("Node")), text(QStringLiteral("Name"))},
             each[QStringLiteral("Shown")].toBool()});
    }
    return cameras;
}

std::optional<QVariant> PanelClient::get(const std::string& camera, const std::string& control,
                                         ServiceError& error) {
    const auto answer =
        ask(QStringLiteral("Get"), {QString::fromStdString(camera), QString::fromStdString(control)}, error);
    return answer ? std::optional(qdbus_cast<QDBusVariant>(answer->value(0)).variant()) : std::nullopt;
}

std::optional<QVariantMap> PanelClient::set(const std::string& camera, const QVariantMap& values, bool force,
                                            ServiceError& error) {
    const auto answer =
        ask(QStringLiteral("Set"),
            {QString::fromStdString(camera), values, QVariantMap{{QStringLiteral("force"), force}}}, error);
    return answer ? std::optional(qdbus_cast<QVariantMap>(answer->value(0))) : std::nullopt;
}

std::optional<Descriptions> PanelClient::controls(const std::string& camera, ServiceError& error) {
    const auto answer = ask(QStringLiteral("Controls"), {QString::fromStdString(camera)}, error);
    return answer ? std::optional(qdbus_cast<Descriptions>(answer->value(0))) : std::nullopt;
}

bool PanelClient::follow() {
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    return bus_.connect(bus_names::service, bus_names::object, bus_names::interface,
                        QStringLiteral("RecordingEnded"), this,
                        SLOT(recordingDidEnd(QString, bool, QString))) &&
           bus_.connect(daemon, QString(), daemon, QStringLiteral("NameOwnerChanged"), this,
                        SLOT(ownerDidChange(QString, QString, QString)));
}

std::optional<ServiceError> PanelClient::start(const std::string& camera, double seconds,
                                               const std::string& sound) {
    const QString name = QString::fromStdString(camera);
    // A panel of an earlier version has only this.
    if (sound.empty()) return call(QStringLiteral("StartRecording"), {name, file_, seconds});
    return call(QStringLiteral("StartRecordingWith"),
                {name, file_,
                 QVariantMap{{QStringLiteral("seconds"), seconds},
                             {QStringLiteral("sound"), QString::fromStdString(sound)}}});
}

std::optional<ServiceError> PanelClient::record(const std::string& camera, const std::string& file,
                                                double seconds, const std::string& sound) {
    file_ = QString::fromStdString(file);
    if (!follow()) return ServiceError{Kind::failed, "the session bus does not work"};
    std::optional<ServiceError> error = start(camera, seconds, sound);
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
    bus_.send(callOfPanel(bus_names::interface, QStringLiteral("StopRecording"), {}));
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
