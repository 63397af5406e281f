// SPDX-License-Identifier: MIT
#include "service/bus_adaptor.h"

#include <QDBusMetaType>
#include <utility>

#include "service/bus_names.h"

namespace tavelo {

using Kind = ServiceError::Kind;

void registerBusTypes() {
    // Qt finds the types of arguments by the names that the slots have for them.
    qRegisterMetaType<Descriptions>("tavelo::Descriptions");
    qRegisterMetaType<QDBusVariant>("QDBusVariant");
    qDBusRegisterMetaType<Descriptions>();
    qDBusRegisterMetaType<HolderNames>();
}

BusAdaptor::BusAdaptor(QObject& object, QDBusConnection bus)
    : QDBusAbstractAdaptor(&object),
      bus_(std::move(bus)) {
    registerBusTypes();
}

void BusAdaptor::setService(ControlPanelService& service) {
    service_ = &service;
    connect(&service, &ControlPanelService::cameraAdded, this, &BusAdaptor::CameraAdded);
    connect(&service, &ControlPanelService::cameraRemoved, this, &BusAdaptor::CameraRemoved);
    connect(&service, &ControlPanelService::controlChanged, this, &BusAdaptor::ControlChanged);
    connect(&service, &ControlPanelService::recordingEnded, this, &BusAdaptor::RecordingEnded);
    connect(&service, &ControlPanelService::shownCameraChanged, this,
            [this] { tellProperty(QStringLiteral("ShownCamera"), shownCamera()); });
    connect(&service, &ControlPanelService::recordingFileChanged, this,
            [this] { tellProperty(QStringLiteral("RecordingFile"), recordingFile()); });
    connect(&service, &ControlPanelService::sharingChanged, this,
            [this] { tellProperty(QStringLiteral("Sharing"), isSharing()); });
}

QString BusAdaptor::shownCamera() const {
    return service_ ? service_->shownCamera() : QString();
}

QString BusAdaptor::recordingFile() const {
    return service_ ? service_->recordingFile() : QString();
}

bool BusAdaptor::isSharing() const {
    return service_ && service_->isSharing();
}

void BusAdaptor::setSharing(bool on) {
    if (!service_) return;
    Q_EMIT service_->called();
    service_->setSharing(on);
}

void BusAdaptor::handle(const QDBusMessage& message, const char* signature,
                        const std::function<void(ControlPanelService& service, const Call& call)>& method) {
    const Call call(bus_, message, service_ ? service_->pending() : nullptr);
    if (call.signature() != QLatin1String(signature))
        return call.fail({Kind::invalid, "the arguments have wrong types"});
    if (!service_) return call.fail({Kind::failed, "the control panel is starting or ending"});
    Q_EMIT service_->called();
    method(*service_, call);
}

void BusAdaptor::List(const QDBusMessage& message, Descriptions& /*cameras*/) {
    handle(message, "", [](auto& service, const Call& call) { service.list(call); });
}

void BusAdaptor::Get(const QString& camera, const QString& control, const QDBusMessage& message,
                     QDBusVariant& /*value*/) {
    handle(message, "ss", [&](auto& service, const Call& call) { service.get(call, camera, control); });
}

void BusAdaptor::Set(const QString& camera, const QVariantMap& values, const QVariantMap& options,
                     const QDBusMessage& message, QVariantMap& /*taken*/) {
    handle(message, "sa{sv}a{sv}",
           [&](auto& service, const Call& call) { service.set(call, camera, values, options); });
}

void BusAdaptor::Controls(const QString& camera, const QDBusMessage& message, Descriptions& /*controls*/) {
    handle(message, "s", [&](auto& service, const Call& call) { service.controls(call, camera); });
}

void BusAdaptor::Apply(const QString& camera, uint profile, const QDBusMessage& message) {
    handle(message, "su", [&](auto& service, const Call& call) { service.apply(call, camera, profile); });
}

void BusAdaptor::Save(const QString& camera, uint profile, const QDBusMessage& message) {
    handle(message, "su", [&](auto& service, const Call& call) { service.save(call, camera, profile); });
}

void BusAdaptor::Reset(const QString& camera, const QDBusMessage& message) {
    handle(message, "s", [&](auto& service, const Call& call) { service.reset(call, camera); });
}

void BusAdaptor::Snapshot(const QString& camera, const QString& file, const QDBusMessage& message) {
    handle(message, "ss", [&](auto& service, const Call& call) { service.snapshot(call, camera, file); });
}

void BusAdaptor::StartRecording(const QString& camera, const QString& file, double seconds,
                                const QDBusMessage& message) {
    handle(message, "ssd",
           [&](auto& service, const Call& call) { service.startRecording(call, camera, file, seconds); });
}

void BusAdaptor::StartRecordingWith(const QString& camera, const QString& file, const QVariantMap& options,
                                    const QDBusMessage& message) {
    handle(message, "ssa{sv}",
           [&](auto& service, const Call& call) { service.startRecordingWith(call, camera, file, options); });
}

void BusAdaptor::StopRecording(const QDBusMessage& message) {
    handle(message, "", [](auto& service, const Call& call) { service.stopRecording(call); });
}

void BusAdaptor::Show(const QDBusMessage& message) {
    handle(message, "", [](auto& service, const Call& call) { service.show(call); });
}

// Qt announces no changes of properties itself.
void BusAdaptor::tellProperty(const QString& name, const QVariant& value) {
    QDBusMessage signal =
        QDBusMessage::createSignal(bus_names::object, QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("PropertiesChanged"));
    signal << QString(bus_names::interface) << QVariantMap{{name, value}} << QStringList();
    bus_.send(signal);
}

} // namespace tavelo
