// SPDX-License-Identifier: MIT
#include "app/picture_status.h"

#include <QStringList>
#include <algorithm>

namespace tavelo {
namespace {

using Kind = PictureStatus::Kind;

// More would make the menu wider than the panel.
constexpr std::size_t mostHoldersNamed = 3;

QString text(const Bundle& bundle, std::string_view key) {
    return QString::fromStdString(bundle.localizedString(key, {}));
}

QString pictureText(const PictureStatus& status, const Bundle& bundle) {
    QString line = QString::fromStdString(status.camera);
    if (!status.size.isEmpty())
        line += QStringLiteral(", %1 × %2").arg(status.size.width()).arg(status.size.height());
    if (status.framesPerSecond > 0)
        line += QStringLiteral(", ") + text(bundle, "Frames_per_second").arg(status.framesPerSecond);
    return line;
}

QString busyText(const std::vector<DeviceHolder>& holders, const Bundle& bundle) {
    if (holders.empty()) return text(bundle, "In_use_by_another_program");
    QStringList programs;
    for (std::size_t i = 0; i < std::min(holders.size(), mostHoldersNamed); ++i) {
        const DeviceHolder& holder = holders[i];
        // In one step: a program's name may contain a place marker.
        programs << text(bundle, "Program_and_process")
                        .arg(QString::fromStdString(holder.program), QString::number(holder.process));
    }
    if (holders.size() > mostHoldersNamed) programs << QStringLiteral("…");
    return text(bundle, "In_use_by").arg(programs.join(QStringLiteral("; ")));
}

const std::string& nodeOrName(const PictureStatus& status) {
    return status.node.empty() ? status.camera : status.node;
}

} // namespace

QString statusText(const PictureStatus& status, const Bundle& bundle) {
    switch (status.kind) {
        case Kind::noCamera:
            return text(bundle, "No_camera");
        case Kind::released:
            return text(bundle, "Camera_is_released");
        case Kind::waiting:
            return text(bundle, "Waiting_for_picture").arg(QString::fromStdString(status.camera));
        case Kind::shown:
            return pictureText(status, bundle);
        case Kind::busy:
            return busyText(status.holders, bundle);
        case Kind::denied:
            return text(bundle, "No_permission").arg(QString::fromStdString(nodeOrName(status)));
        case Kind::silent:
            return text(bundle, "No_picture");
    }
    return {};
}

std::optional<Advice> adviceFor(const PictureStatus& status) {
    if (status.kind == Kind::noCamera)
        return Advice{"no camera", "plug in a USB camera; its picture then appears by itself"};
    if (status.kind == Kind::denied)
        return Advice{nodeOrName(status), "no permission: join the group \"video\", then log in again"};
    return {};
}

} // namespace tavelo
