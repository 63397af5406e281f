// SPDX-License-Identifier: MIT
#include "app/folder_trouble.h"

#include <QFileInfo>
#include <QStorageInfo>
#include <filesystem>
#include <system_error>

#include "widgets/localized_text.h"

namespace tavelo {
namespace {

// More than a still needs, and than a movie that ran out of space leaves.  What the failed file took is free
// again by now.
constexpr qint64 nearlyNothing = 16LL * 1024 * 1024;

} // namespace

FolderState stateOfFolder(const QString& folder) {
    QFileInfo place(folder);
    FolderState state;
    state.exists = place.exists();
    while (!place.exists() && !place.isRoot())
        place.setFile(place.absolutePath());
    state.isFolder = place.isDir();
    state.isWritable = place.isWritable();
    const QString path = place.canonicalFilePath();
    state.isReadOnly = QStorageInfo(path).isReadOnly();
    // Not by QStorageInfo, which knows only what the list of mounts shows: a sandbox may hide it.
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(path.toStdString(), error);
    if (!error && space.capacity > 0) state.freeBytes = static_cast<qint64>(space.available);
    return state;
}

FolderTrouble troubleOf(const FolderState& state) {
    if (!state.isFolder) return FolderTrouble::none;
    if (state.isReadOnly) return FolderTrouble::readOnly; // nobody may write there, so before the permission
    if (!state.isWritable) return FolderTrouble::denied;
    if (state.freeBytes && *state.freeBytes < nearlyNothing) return FolderTrouble::full;
    return state.exists ? FolderTrouble::none : FolderTrouble::missing;
}

QString folderTroubleText(const QString& folder, FolderTrouble trouble, const QString& systemText,
                          const Bundle& bundle) {
    const auto text = [&](std::string_view key) { return localizedText(bundle, key).arg(folder); };
    switch (trouble) {
        case FolderTrouble::none:
            break;
        case FolderTrouble::missing:
            return text("Folder_missing");
        case FolderTrouble::readOnly:
            return text("Folder_read_only");
        case FolderTrouble::denied:
            return text("Folder_denied");
        case FolderTrouble::full:
            return text("Folder_full");
    }
    // In one step: a folder's name may contain a place marker.
    return localizedText(bundle, "Folder_fails").arg(folder, systemText);
}

} // namespace tavelo
