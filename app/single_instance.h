// SPDX-License-Identifier: MIT
// One panel a session: starting the program again shows the window that is there.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>
#include <cstdint>

namespace tavelo {

/// Takes the program's name on the session bus, or finds out that another process has it.  Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    enum class Role : std::uint8_t {
        first,  ///< this process is the panel; reopened() tells of later starts
        second, ///< another process is
        alone,  ///< there is no session bus to ask; every start is a panel of its own
    };

    explicit SingleInstance(QDBusConnection bus = QDBusConnection::sessionBus());
    ~SingleInstance() override;

    Role role() const { return role_; }

    /// For the second process: asks the first one to show its window and waits for the answer.
    /// @return empty, or why the first one did not
    QString activateFirst();

Q_SIGNALS:
    void reopened();

private:
    QDBusConnection bus_;
    Role role_ = Role::alone;
};

/// The desktop's interface for starting programs over the bus.
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
