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

} // namespace

std::vector<std::filesystem::path> extensionUnitFolders() {
    const auto installed = pathOf(QCoreApplication::applicationDirPath()) / TAVELO_DATA;
    const auto own = pathOf(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    return {installed.lexically_normal() / "extension-units",
            own / "tavelo-control-panel" / "extension-units"};
}

} // namespace tavelo
