// SPDX-License-Identifier: MIT
// Whether the desktop shows entries of programs in a tray.
#pragma once

#include <QDBusConnection>
#include <QObject>

namespace tavelo {

/// Main thread, which never waits for a tray that hangs.
class DesktopTray final : public QObject {
    Q_OBJECT

public:
    explicit DesktopTray(QDBusConnection bus = QDBusConnection::sessionBus());

    /// Asks the desktop; answered() follows, unless there is no bus.
    void look();

Q_SIGNALS:
    void answered(bool hasTray);

private:
    QDBusConnection bus_;
};

} // namespace tavelo
