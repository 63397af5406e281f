// SPDX-License-Identifier: MIT
#include "app/show_file.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QStringList>
#include <QUrl>

#include "process/error_line.h"

namespace tavelo {
namespace {

void openFolder(const QString& file) {
    const QString folder = QFileInfo(file).absolutePath();
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        printErrorLine(folder.toStdString(), "not shown: the desktop has no program for folders");
}

} // namespace

void showFileInFolder(const QString& file, const QDBusConnection& bus) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)) << QString();
    auto* const waiting = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(waiting, &QDBusPendingCallWatcher::finished, waiting, [waiting, file] {
        waiting->deleteLater();
        // Not every desktop has such a service.
        if (QDBusPendingReply<>(*waiting).isError()) openFolder(file);
    });
}

} // namespace tavelo
