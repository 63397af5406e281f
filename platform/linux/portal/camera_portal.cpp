// SPDX-License-Identifier: MIT
#include "platform/linux/portal/camera_portal.h"

#include <fcntl.h>

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>
#include <system_error>
#include <utility>

namespace tavelo {
namespace {

constexpr int patience = 1000; // ms

PipewireGrant ask(const QDBusConnection& bus) {
    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Camera"), QStringLiteral("OpenPipeWireRemote"));
    request << QVariantMap();
    const QDBusMessage answer = bus.call(request, QDBus::Block, patience);
    PipewireGrant grant;
    if (answer.type() == QDBusMessage::ReplyMessage && !answer.arguments().isEmpty()) {
        const auto remote = answer.arguments().constFirst().value<QDBusUnixFileDescriptor>();
        if (remote.isValid())
            grant.remote = FileDescriptor(::fcntl(remote.fileDescriptor(), F_DUPFD_CLOEXEC, 0));
    }
    // Also as long as the user has not answered.
    const QString error = answer.errorName();
    grant.refused = error == QStringLiteral("org.freedesktop.portal.Error.NotAllowed") ||
                    error == QStringLiteral("org.freedesktop.DBus.Error.AccessDenied");
    return grant;
}

} // namespace

AskForPipewire cameraPortal(const std::filesystem::path& sandboxMark, std::function<QDBusConnection()> bus) {
    std::error_code ignored;
    if (!std::filesystem::exists(sandboxMark, ignored)) return {};
    return [bus = std::move(bus)] { return ask(bus()); };
}

} // namespace tavelo
