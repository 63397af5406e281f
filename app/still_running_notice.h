// SPDX-License-Identifier: MIT
// Tells once that the program goes on after its window was closed.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>
#include <optional>

#include "platform/bundle.h"

namespace tavelo {

/// A notification of the desktop, with the choices of TrayEntry.  A desktop without notifications shows
/// nothing.  Main thread.
class StillRunningNotice final : public QObject {
    Q_OBJECT

public:
    /// @param bundle must outlive this object
    explicit StillRunningNotice(const Bundle& bundle, QDBusConnection bus = QDBusConnection::sessionBus());

    /// Does nothing after the first time.
    /// @param line what goes on
    /// @param hasCamera whether there is one to release
    void say(const QString& line, bool hasCamera);

    /// Takes the notification away, because the window is shown again.
    void takeBack();

Q_SIGNALS:
    void showChosen();
    void releaseChosen();
    void quitChosen();

private Q_SLOTS:
    /// Both carry the notification's number and a text.
    void actionWasInvoked(const QDBusMessage& signal);
    void tokenCame(const QDBusMessage& signal);

private:
    bool isOfThis(const QDBusMessage& signal) const;
    void listen();
    void answerCame(const QDBusPendingCallWatcher& answer);

    const Bundle& bundle_;
    QDBusConnection bus_;
    bool isSaid_ = false;
    bool isTakenBack_ = false;
    std::optional<uint> notification_; // its number, once the desktop has told it
};

} // namespace tavelo
