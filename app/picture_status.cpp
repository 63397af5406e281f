// SPDX-License-Identifier: MIT
#include "app/picture_status.h"

#include <QStringList>
#include <algorithm>

#include "widgets/foreign_text.h"
#include "widgets/localized_text.h"

namespace tavelo {
namespace {

using Kind = PictureStatus::Kind;

// More would make the menu wider than the panel.
constexpr std::size_t mostHoldersNamed = 3;

QString pictureText(const PictureStatus& status, const Bundle& bundle) {
    QString line = foreignName(status.camera);
    if (!status.size.isEmpty())
        line += QStringLiteral(", %1 × %2").arg(status.size.width()).arg(status.size.height());
    if (status.framesPerSecond > 0)
        line += QStringLiteral(", ") + localizedText(bundle, "Frames_per_second").arg(status.framesPerSecond);
    return line;
}

QString busyText(const std::vector<DeviceHolder>& holders, const Bundle& bundle) {
    if (holders.empty()) return localizedText(bundle, "In_use_by_another_program");
    QStringList programs;
    for (std::size_t i = 0; i < std::min(holders.size(), mostHoldersNamed); ++i) {
        const DeviceHolder& holder = holders[i];
        // In one step: a program's name may contain a place marker.
        programs << localizedText(bundle, "Program_and_process")
                        .arg(foreignName(holder.program), QString::number(holder.process));
    }
    if (holders.size() > mostHoldersNamed) programs << QStringLiteral("…");
    return localizedText(bundle, "In_use_by").arg(programs.join(QStringLiteral("; ")));
}

const std::string& nodeOrName(const PictureStatus& status) {
    return status.node.empty() ? status.camera : status.node;
}

} // namespace

QString statusText(const PictureStatus& status, const Bundle& bundle) {
    switch (status.kind) {
        case Kind::noCamera:
            return localizedText(bundle, "No_camera");
        case Kind::released:
            return localizedText(bundle, "Camera_is_released");
        case Kind::waiting:
            return localizedText(bundle, "Waiting_for_picture").arg(foreignName(status.camera));
        case Kind::shown:
            return pictureText(status, bundle);
        case Kind::busy:
            return busyText(status.holders, bundle);
        case Kind::denied:
            return localizedText(bundle, "No_permission").arg(foreignName(nodeOrName(status)));
        case Kind::silent:
            return localizedText(bundle, "No_picture");
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
