// SPDX-License-Identifier: MIT
// Permission to use the camera, which a sandboxed program has to ask for.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace tavelo {

/// Main thread.
class CameraAccess {
public:
    /// @param sandboxMark a file that exists inside a sandbox only
    explicit CameraAccess(const QString& sandboxMark = QStringLiteral("/.flatpak-info"));

    /// True outside a sandbox: there the permissions of the device nodes decide.
    bool isAuthorized() const { return authorized_; }

    /// Has the desktop's portal ask the user and returns at once.  The answer is ignored: without access the
    /// preview stays black.
    void request(const QDBusConnection& bus = QDBusConnection::sessionBus()) const;

private:
    const bool authorized_;
};

} // namespace tavelo
