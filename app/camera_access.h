// SPDX-License-Identifier: MIT
// Leave to use the camera, where the desktop asks the user for it.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace tavelo {

/// Main thread.
class CameraAccess {
public:
    /// @param sandboxMark a file that exists inside a sandbox only
    explicit CameraAccess(const QString& sandboxMark = QStringLiteral("/.flatpak-info"));

    /// Outside a sandbox the device nodes' own rights decide, and nobody needs to be asked.
    bool isAuthorized() const { return authorized_; }

    /// Has the desktop's portal ask the user and returns at once.  The answer is ignored: without access the
    /// preview gets no frames, and that shows.
    void request(const QDBusConnection& bus = QDBusConnection::sessionBus()) const;

private:
    const bool authorized_;
};

} // namespace tavelo
