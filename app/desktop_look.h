// SPDX-License-Identifier: MIT
// High contrast and large text, as the desktop has them.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFont>
#include <QObject>

namespace tavelo {

/// Asks the desktop's portal, because the platform's themes do not say it, and gives the application the
/// palette and the font that this means.  Main thread, which never waits for a portal that hangs.
class DesktopLook final : public QObject {
    Q_OBJECT

public:
    /// Asks, and follows changes, if there is a bus with a portal.
    explicit DesktopLook(QDBusConnection bus = QDBusConnection::sessionBus());

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void ask();
    void take(const QDBusMessage& answer);
    void take(const QString& group, const QString& key, const QVariant& value);
    void apply();

    QDBusConnection bus_;
    const QFont font_;
    bool portalWantsContrast_ = false; // two desktops' ways to say it
    bool gnomeWantsContrast_ = false;
    bool hasContrast_ = false;
    double textFactor_ = 1;
};

} // namespace tavelo
