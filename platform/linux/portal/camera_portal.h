// SPDX-License-Identifier: MIT
// Asks the desktop's portal for the camera.
#pragma once

#include <QDBusConnection>
#include <filesystem>
#include <functional>

#include "platform/linux/pipewire/module/pipewire_grant.h"

namespace tavelo {

/// Asks for the connection to PipeWire that the portal gives to whom the user has allowed the camera; it does
/// not ask the user.  Empty outside a sandbox.  A call takes up to a second.
/// @param sandboxMark a file that exists inside a sandbox only
/// @param bus         thread-safe
AskForPipewire cameraPortal(
    const std::filesystem::path& sandboxMark = "/.flatpak-info",
    std::function<QDBusConnection()> bus = [] { return QDBusConnection::sessionBus(); });

} // namespace tavelo
