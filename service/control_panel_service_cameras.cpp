// SPDX-License-Identifier: MIT
// Which cameras there are, and which one a call means.
#include "commands/camera_choice.h"
#include "service/arguments.h"
#include "service/bus_types.h"
#include "service/control_panel_service.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

QVariantMap described(const CaptureDevice& camera, bool isShown) {
    HolderNames holders;
    for (const DeviceHolder& holder : camera.holders().seen)
        holders.insert(static_cast<uint>(holder.process), QString::fromStdString(holder.program));
    return {{QStringLiteral("Identifier"), QString::fromStdString(camera.uniqueID())},
            {QStringLiteral("Name"), QString::fromStdString(camera.localizedName())},
            {QStringLiteral("Node"), QString::fromStdString(camera.node())},
            {QStringLiteral("Place"), QString::fromStdString(camera.place())},
            {QStringLiteral("Shown"), isShown},
            {QStringLiteral("OpenIn"), QVariant::fromValue(holders)}};
}

} // namespace

void ControlPanelService::list(const Call& call) {
    const auto shown = parts_.host.shownCamera();
    Descriptions cameras;
    for (const auto& camera : parts_.capture.devicesWithMediaType(MediaType::video))
        cameras.append(described(*camera, camera == shown));
    call.answer({QVariant::fromValue(cameras)});
}

QString ControlPanelService::shownCamera() const {
    const auto camera = parts_.host.shownCamera();
    return camera ? QString::fromStdString(camera->uniqueID()) : QString();
}

std::shared_ptr<CaptureDevice> ControlPanelService::cameraNamed(const QString& text, ServiceError& error) {
    const auto wanted = arguments::camera(text, error);
    if (!wanted) return nullptr;
    if (auto shown = wanted->empty() ? parts_.host.shownCamera() : nullptr) return shown;
    const auto cameras = parts_.capture.devicesWithMediaType(MediaType::video);
    if (wanted->empty() && cameras.size() > 1) {
        error = {Kind::invalid,
                 "there are " + std::to_string(cameras.size()) + " cameras and none is shown: name one"};
        return nullptr;
    }
    error.kind = Kind::noSuchCamera;
    const auto position = chooseCamera(cameras, *wanted, error.text);
    return position ? cameras[*position] : nullptr;
}

std::shared_ptr<CaptureDevice> ControlPanelService::shownCameraNamed(const QString& text,
                                                                     ServiceError& error) {
    auto camera = cameraNamed(text, error);
    if (!camera || camera == parts_.host.shownCamera()) return camera;
    error = {Kind::notShown, camera->localizedName() + ": the panel does not show it"};
    return nullptr;
}

void ControlPanelService::captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) {
    if (!device->hasMediaType(MediaType::video)) return;
    Q_EMIT cameraAdded(QString::fromStdString(device->uniqueID()),
                       QString::fromStdString(device->localizedName()));
}

void ControlPanelService::captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) {
    if (!device->hasMediaType(MediaType::video)) return;
    Q_EMIT cameraRemoved(QString::fromStdString(device->uniqueID()));
}

} // namespace tavelo
