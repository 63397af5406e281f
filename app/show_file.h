// SPDX-License-Identifier: MIT
// Shows a file in the desktop's file manager.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace tavelo {

/// Opens the file's folder with the file selected, or at least its folder.  Returns at once.  Main thread.
void showFileInFolder(const QString& file, const QDBusConnection& bus = QDBusConnection::sessionBus());

} // namespace tavelo
