// SPDX-License-Identifier: MIT
// Where stills and movies taken in the window go.
#pragma once

#include <QDateTime>
#include <QString>
#include <optional>
#include <string_view>

namespace tavelo {

/// A free name in a folder, which is made if it is missing: "Camera 2026-11-22 10-20-05.png", with " (2)"
/// if that exists.  Characters that file systems do not take are replaced.
/// @param reason set if there is no result
std::optional<QString> freePictureFile(const QString& folder, std::string_view camera, const QDateTime& time,
                                       const QString& extension, QString& reason);

} // namespace tavelo
