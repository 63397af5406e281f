// SPDX-License-Identifier: MIT
#include "app/still_running_notice.h"

#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>
#include <utility>

#include "service/bus_names.h"
#include "widgets/localized_text.h"

namespace tavelo {
namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications"); // also the interface
const QString object = QStringLiteral("/org/freedesktop/Notifications");
const QString actionShow = QStringLiteral("default"); // a click on the notification itself
const QString actionRelease = QStringLiteral("release");
const QString actionQuit = QStringLiteral("quit");

constexpr int asLongAsTheDesktopLikes = -1;

} // namespace

StillRunningNotice::StillRunningNotice(const Bundle& bundle, QDBusConnection bus)
    : bundle_(bundle),
      bus_(std::move(bus)) {}

void StillRunningNotice::say(const QString& line, bool hasCamera) {
    if (std::exchange(isSaid_, true)) return;
    listen();
    const auto text = [this](std::string_view key) { return localizedText(bundle_, key); };
    QStringList actions{actionShow, text("Show_window")};
    if (hasCamera) actions << actionRelease << text("Release_camera");
    actions << actionQuit << text("Quit");
    // The desktop reads tags in the text.
    const QString body = (line + u'\n' + text("Start_again")).toHtmlEscaped();
    QDBusMessage call = QDBusMessage::createMethodCall(service, object, service, QStringLiteral("Notify"));
    call << QGuiApplication::applicationDisplayName() << 0U << QStringLiteral("tavelo-control-panel")
         << text("Still_running") << body << actions
         << QVariantMap{{QStringLiteral("desktop-entry"), QString(bus_names::service)}}
         << asLongAsTheDesktopLikes;
    auto* const waiting = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, waiting] {
        waiting->deleteLater();
        answerCame(*waiting);
    });
}

void StillRunningNotice::listen() {
    bus_.connect(service, object, service, QStringLiteral("ActionInvoked"), this,
                 SLOT(actionWasInvoked(QDBusMessage)));
    bus_.connect(service, object, service, QStringLiteral("ActivationToken"), this,
                 SLOT(tokenCame(QDBusMessage)));
}

void StillRunningNotice::answerCame(const QDBusPendingCallWatcher& answer) {
    const QDBusPendingReply<uint> reply = answer;
    if (reply.isError()) return;
    notification_ = reply.value();
    if (isTakenBack_) takeBack();
}

void StillRunningNotice::takeBack() {
    isTakenBack_ = isSaid_;
    if (!notification_) return;
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, object, service, QStringLiteral("CloseNotification"));
    call << *std::exchange(notification_, {});
    bus_.asyncCall(call);
}

bool StillRunningNotice::isOfThis(const QDBusMessage& signal) const {
    const QVariantList values = signal.arguments();
    return notification_ && values.size() == 2 && values[0].toUInt() == notification_;
}

void StillRunningNotice::tokenCame(const QDBusMessage& signal) {
    // Qt reads it from the environment when the window next asks for the focus.
    if (isOfThis(signal)) qputenv("XDG_ACTIVATION_TOKEN", signal.arguments().at(1).toString().toUtf8());
}

void StillRunningNotice::actionWasInvoked(const QDBusMessage& signal) {
    if (!isOfThis(signal)) return;
    const QString action = signal.arguments().at(1).toString();
    if (action == actionShow) Q_EMIT showChosen();
    if (action == actionRelease) Q_EMIT releaseChosen();
    if (action == actionQuit) Q_EMIT quitChosen();
}

} // namespace tavelo
