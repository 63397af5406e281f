// SPDX-License-Identifier: MIT
// The service as it is on the bus.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPointer>
#include <functional>

#include "service/bus_types.h"
#include "service/control_panel_service.h"

namespace tavelo {

/// The interface org.tavelo.ControlPanel1 of an object.  Exists before the service itself, so that nobody
/// finds the object without it; calls that arrive too early fail.  Main thread.
///
/// Its slots and signals are the interface: service/org.tavelo.ControlPanel1.xml describes the same.
class BusAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tavelo.ControlPanel1")
    Q_PROPERTY(QString ShownCamera READ shownCamera)
    Q_PROPERTY(QString RecordingFile READ recordingFile)
    Q_PROPERTY(bool Sharing READ isSharing WRITE setSharing)

public:
    /// @param object the object on the bus, which owns the adaptor
    BusAdaptor(QObject& object, QDBusConnection bus);

    /// Call once.
    void setService(ControlPanelService& service);

    QString shownCamera() const;
    QString recordingFile() const;
    bool isSharing() const;
    void setSharing(bool on);

public Q_SLOTS:
    // The messages make Qt leave the answer to the service; what is returned here is never sent.
    void List(const QDBusMessage& message, tavelo::Descriptions& cameras);
    void Get(const QString& camera, const QString& control, const QDBusMessage& message, QDBusVariant& value);
    void Set(const QString& camera, const QVariantMap& values, const QVariantMap& options,
             const QDBusMessage& message, QVariantMap& taken);
    void Controls(const QString& camera, const QDBusMessage& message, tavelo::Descriptions& controls);
    void Apply(const QString& camera, uint profile, const QDBusMessage& message);
    void Save(const QString& camera, uint profile, const QDBusMessage& message);
    void Reset(const QString& camera, const QDBusMessage& message);
    void Snapshot(const QString& camera, const QString& file, const QDBusMessage& message);
    void StartRecording(const QString& camera, const QString& file, double seconds,
                        const QDBusMessage& message);
    void StartRecordingWith(const QString& camera, const QString& file, const QVariantMap& options,
                            const QDBusMessage& message);
    void StopRecording(const QDBusMessage& message);
    void Show(const QDBusMessage& message);

Q_SIGNALS:
    void CameraAdded(const QString& camera, const QString& name);
    void CameraRemoved(const QString& camera);
    void ControlChanged(const QString& camera, const QString& control, const QDBusVariant& value);
    void RecordingEnded(const QString& file, bool success, const QString& reason);

private:
    /// @param signature of the arguments: Qt also calls methods without arguments for calls with some
    void handle(const QDBusMessage& message, const char* signature,
                const std::function<void(ControlPanelService& service, const Call& call)>& method);
    void tellProperty(const QString& name, const QVariant& value);

    QDBusConnection bus_;
    QPointer<ControlPanelService> service_;
};

} // namespace tavelo
