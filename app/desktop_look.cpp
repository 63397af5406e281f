// SPDX-License-Identifier: MIT
#include "app/desktop_look.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <algorithm>
#include <utility>

#include "widgets/panel_look.h"

namespace tavelo {
namespace {

constexpr auto service = "org.freedesktop.portal.Desktop";
constexpr auto path = "/org/freedesktop/portal/desktop";
constexpr auto interface = "org.freedesktop.portal.Settings";

constexpr auto portalsOwn = "org.freedesktop.appearance";
constexpr auto gnomeAccessibility = "org.gnome.desktop.a11y.interface";
constexpr auto gnomeInterface = "org.gnome.desktop.interface";

constexpr double largestTextFactor = 3;

// The desktop's own value is a number from 0.5 to 3, but anybody on the bus may send another, or none.
double textFactorOf(const QVariant& value) {
    const double told = value.toDouble();
    return told > 1 ? std::min(told, largestTextFactor) : 1; // not so with NaN
}

QPalette whiteOnBlack() {
    QPalette palette(Qt::white, Qt::black, Qt::white, Qt::white, Qt::white, Qt::white, Qt::white, Qt::black,
                     Qt::black);
    palette.setColor(QPalette::Highlight, Qt::white);
    palette.setColor(QPalette::HighlightedText, Qt::black);
    return palette;
}

// An X server's desktop says it by the resolution, which Qt applies to everything.
bool scalesOnlyText() {
    return QGuiApplication::platformName() != QStringLiteral("xcb");
}

} // namespace

DesktopLook::DesktopLook(QDBusConnection bus) : bus_(std::move(bus)), font_(QApplication::font()) {
    if (!bus_.isConnected()) return;
    // Of any sender: asking who owns the name would wait for the answer.
    bus_.connect(QString(), QLatin1String(path), QLatin1String(interface), QStringLiteral("SettingChanged"),
                 this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask();
}

void DesktopLook::ask() {
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                                       QLatin1String(interface), QStringLiteral("ReadAll"));
    call << QStringList{QLatin1String(portalsOwn), QLatin1String(gnomeAccessibility),
                        QLatin1String(gnomeInterface)};
    call.setAutoStartService(false); // a desktop without one has nothing to say
    auto* const waiting = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, waiting] {
        waiting->deleteLater();
        take(waiting->reply());
    });
}

void DesktopLook::take(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QStringLiteral("a{sa{sv}}"))
        return;
    const auto groups = qdbus_cast<QMap<QString, QVariantMap>>(answer.arguments().constFirst());
    for (auto group = groups.begin(); group != groups.end(); ++group)
        for (auto setting = group->begin(); setting != group->end(); ++setting)
            take(group.key(), setting.key(), setting.value());
    apply();
}

void DesktopLook::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, value.variant());
    apply();
}

void DesktopLook::take(const QString& group, const QString& key, const QVariant& value) {
    if (group == QLatin1String(portalsOwn) && key == QStringLiteral("contrast"))
        portalWantsContrast_ = value.toUInt() == 1;
    else if (group == QLatin1String(gnomeAccessibility) && key == QStringLiteral("high-contrast"))
        gnomeWantsContrast_ = value == QVariant(true);
    else if (group == QLatin1String(gnomeInterface) && key == QStringLiteral("text-scaling-factor"))
        textFactor_ = textFactorOf(value);
}

void DesktopLook::apply() {
    const bool contrast = portalWantsContrast_ || gnomeWantsContrast_;
    if (std::exchange(hasContrast_, contrast) != contrast) {
        QApplication::setPalette(contrast ? whiteOnBlack() : QPalette());
        applyToolTipLook();
    }
    if (scalesOnlyText() && font_.pointSizeF() > 0) {
        QFont font = font_;
        font.setPointSizeF(font_.pointSizeF() * textFactor_);
        if (font != QApplication::font()) QApplication::setFont(font);
    }
}

} // namespace tavelo
