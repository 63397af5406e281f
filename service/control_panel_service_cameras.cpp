// SPDX-License-Identifier: MIT
// Which camera a call means, and how its controls are reached.
#include <algorithm>
#include <chrono>

#include "commands/camera_choice.h"
#include "service/arguments.h"
#include "service/bus_types.h"
#include "service/control_panel_service.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;
using namespace std::chrono_literals;

constexpr int videoScope = 2;
// A camera that did not answer may block the next request too, so it is left alone for a while.
constexpr auto quietTime = 1s;

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

// Why a camera has no controls to use.
ServiceError whyNotControllable(CaptureDevice& camera) {
    Error error;
    camera.makeInput(error);
    if (error.code != ErrorCode::none)
        return {errorKindOf(error.code), camera.localizedName() + ": " + error.text};
    return {Kind::failed, camera.localizedName() + ": it has no controls, or does not answer"};
}

} // namespace

void ControlPanelService::list(const Call& call) {
    const auto shown = parts_.host.shownCamera();
    CameraDescriptions cameras;
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

std::optional<ControlPanelService::Controls> ControlPanelService::controlsOf(const QString& text,
                                                                             ServiceError& error) {
    Controls controls;
    controls.camera = cameraNamed(text, error);
    if (!controls.camera) return {};
    controls.isShown = controls.camera == parts_.host.shownCamera();
    if (controls.isShown) {
        controls.manager = {std::shared_ptr<void>(), &parts_.host.shownControls()}; // not owned
    } else {
        controls.manager = std::make_shared<KTUVCManager>(KTUVCEnvironment{.usb = parts_.usb});
        controls.manager->initProberWithBusProberScopeProberDelegate(videoScope, nullptr);
        controls.manager->refreshDataWithUniqueIDString(controls.camera->uniqueID());
    }
    if (!controls.manager->isControllable()) {
        error = whyNotControllable(*controls.camera);
        return {};
    }
    if (!answersAgain(*controls.manager, error)) {
        error.text.insert(0, controls.camera->localizedName() + ": ");
        return {};
    }
    return controls;
}

bool ControlPanelService::answersAgain(KTUVCManager& manager, ServiceError& error) {
    if (!manager.recordsAreRead()) {
        error = {Kind::failed, "it did not answer when its controls were read"};
        return false;
    }
    if (!manager.interfaceIsClosed()) return true;
    if (manager.failure() == ErrorCode::gone) {
        error = {Kind::noSuchCamera, "it was unplugged"};
        return false;
    }
    const bool hasRested = manager.now() - manager.failedAt() >= quietTime;
    if ((manager.failure() == ErrorCode::refused || hasRested) && manager.openInterfaceAgain()) return true;
    error = {Kind::failed, "it did not answer a moment ago; try again later"};
    return false;
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
