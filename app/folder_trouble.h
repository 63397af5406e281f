// SPDX-License-Identifier: MIT
// Why nothing can be written into a folder.
#pragma once

#include <QString>
#include <cstdint>
#include <optional>

#include "platform/bundle.h"

namespace tavelo {

enum class FolderTrouble : std::uint8_t {
    none, ///< that is known
    missing,
    readOnly, ///< the whole file system
    denied,   ///< no permission
    full,
};

/// What the file system says of a folder, or of the nearest one above it that exists.
struct FolderState {
    bool exists = true; ///< the folder itself
    bool isFolder = true;
    bool isReadOnly = false;
    bool isWritable = true;
    std::optional<qint64> freeBytes{}; ///< absent if it does not count them
};

FolderState stateOfFolder(const QString& folder);

/// Call it after a write has failed.
FolderTrouble troubleOf(const FolderState& state);

/// Half a sentence in the bundle's language, which names the folder.
/// @param systemText the reason if the trouble is not known
QString folderTroubleText(const QString& folder, FolderTrouble trouble, const QString& systemText,
                          const Bundle& bundle);

} // namespace tavelo
