// SPDX-License-Identifier: MIT
// One panel per session: starting the program again shows the existing window.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>
#include <cstdint>

#include "service/bus_adaptor.h"

namespace tavelo {

/// Tries to own the program's name on the session bus.  Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    enum class Role : std::uint8_t {
        first,  ///< this process runs the panel; reopened() reports later starts
        second, ///< another process runs the panel
        alone,  ///< there is no session bus; every process runs its own panel
    };

    enum class Purpose : std::uint8_t {
        panel,                ///< or a service that can show a window
        serviceWithoutWindow, ///< has no display; a panel that starts takes its place
    };

    explicit SingleInstance(QDBusConnection bus = QDBusConnection::sessionBus(),
                            Purpose purpose = Purpose::panel);
    ~SingleInstance() override;

    Role role() const { return role_; }

    /// Called by the second process.  Asks the first one to show its window and waits for the answer, for at
    /// most ten seconds.
    /// @return empty on success, else the reason of the failure
    QString activateFirst();

    /// The service's interface on the bus; null without a bus.  Owned by this object.
    BusAdaptor* busAdaptor() const { return busAdaptor_; }

    /// Gives the name up, so that no more calls arrive.
    void letGoOfName();

Q_SIGNALS:
    void reopened();
    /// A panel has taken the place of this process.
    void replaced();
    /// The session bus has ended.
    void busWasLost();

private:
    QDBusConnection bus_;
    BusAdaptor* busAdaptor_ = nullptr;
    Role role_ = Role::alone;
};

/// The freedesktop interface for starting programs over D-Bus.
class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationAdaptor(SingleInstance& instance);

public Q_SLOTS:
    void Activate(const QVariantMap& platformData);

private:
    SingleInstance& instance_;
};

} // namespace tavelo
