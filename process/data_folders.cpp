// SPDX-License-Identifier: MIT
#include "process/data_folders.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>

namespace tavelo {
namespace {

std::filesystem::path pathOf(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

std::filesystem::path installedData() {
    return (pathOf(QCoreApplication::applicationDirPath()) / TAVELO_DATA).lexically_normal();
}

} // namespace

std::vector<std::filesystem::path> extensionUnitFolders() {
    const auto own = pathOf(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    return {installedData() / "extension-units", own / "tavelo-control-panel" / "extension-units"};
}

std::filesystem::path manualPage() {
    return installedData() / "manual" / "index.html";
}

} // namespace tavelo
