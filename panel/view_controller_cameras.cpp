// SPDX-License-Identifier: MIT
// Which camera is shown: the list, the two buttons, arrival and removal.
#include <algorithm>
#include <chrono>
#include <iterator>

#include "panel/view_controller.h"
#include "video/kt_display_view.h"
#include "widgets/foreign_text.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_profile_button.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// After their stream starts, cameras need some time before they answer on the control interface.
constexpr auto settleTime = 100ms;

} // namespace

void ViewController::listCameras() {
    devicesArray_.clear();
    std::ranges::copy_if(
        capture_.devicesWithMediaType(MediaType::video), std::back_inserter(devicesArray_),
        [this](const auto& device) { return uvcManager_.uniqueIDIsCorrect(device->uniqueID()); });
}

void ViewController::readVideoDevice() {
    listCameras();
    if (devicesArray_.empty()) {
        setCameraControlViewEnable(false);
        return;
    }
    switchCameraWithIndex(0);
}

void ViewController::showCameraButtons(std::optional<std::size_t> shown) {
    view_->camera1Button()->setEnabled(!devicesArray_.empty());
    view_->camera2Button()->setEnabled(devicesArray_.size() > 1);
    view_->camera1Button()->setSelected(shown == 0U);
    view_->camera2Button()->setSelected(shown == 1U);
    const auto name = [this](std::size_t index, KTCameraButton* button) {
        const bool exists = index < devicesArray_.size();
        const QString text = exists ? foreignName(devicesArray_[index]->localizedName()) : QString();
        button->setToolTip(plainToolTip(text));
        button->setAccessibleDescription(text); // the name is the button's own
    };
    name(0, view_->camera1Button());
    name(1, view_->camera2Button());
}

void ViewController::switchCameraWithIndex(std::size_t index) {
    settleTimer_.stop();
    cameraSettingKey_.reset();
    releasedCamera_.reset();
    showCameraButtons(index);
    const std::shared_ptr<CaptureDevice> device = devicesArray_[index];
    const bool isStarted =
        !observing_ && displayView() != nullptr && displayView()->captureDevice() == device;
    if (displayView() != nullptr && !isStarted) displayView()->showDevice(device);
    Q_EMIT shownCameraChanged();
    // Only at the start nothing is bound that could be taken for the new camera's controls meanwhile.
    if (bindsFirstCameraLater_ && !observing_) {
        settleTimer_.start(settleTime);
        return;
    }
    pause_(settleTime);
    bindNewCamera(*device);
}

void ViewController::finishBinding() {
    if (!settleTimer_.isActive()) return;
    pause_(settleTimer_.remainingTimeAsDuration());
    didSettle();
}

void ViewController::didSettle() {
    settleTimer_.stop();
    if (const auto device = shownCamera()) bindNewCamera(*device);
}

void ViewController::bindNewCamera(const CaptureDevice& device) {
    profileIndex_ = -1;
    for (KTProfileButton* button : view_->profileButtons())
        button->setState(0);
    bindControls(device);
    readAgainAfterQuiet();
}

void ViewController::camera1ButtonAction(QObject* /*sender*/) {
    if (shownIndex() != 0U) switchCameraWithIndex(0);
}

void ViewController::camera2ButtonAction(QObject* /*sender*/) {
    if (shownIndex() != 1U) switchCameraWithIndex(1);
}

void ViewController::reconnectCamera() {
    uvcManager_.prober()->refreshData(true);
    if (const auto index = shownIndex())
        switchCameraWithIndex(*index);
    else
        readVideoDevice();
}

void ViewController::addNotifiction() {
    capture_.addObserver(this);
    observing_ = true;
}

void ViewController::captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) {
    captureDeviceWasConnectedNotification(device);
}

void ViewController::captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) {
    captureDeviceWasDisconnectedNotification(device);
}

void ViewController::captureDeviceWasConnectedNotification(const std::shared_ptr<CaptureDevice>& device) {
    if (!device->hasMediaType(MediaType::video)) return;
    uvcManager_.prober()->refreshData(true);
    if (!uvcManager_.uniqueIDIsCorrect(device->uniqueID()) || indexOf(device)) return;
    devicesArray_.push_back(device);
    if (devicesArray_.size() == 1 && !cameraIsReleased())
        switchCameraWithIndex(0);
    else
        showCameraButtons(shownIndex());
}

void ViewController::captureDeviceWasDisconnectedNotification(const std::shared_ptr<CaptureDevice>& device) {
    if (!device->hasMediaType(MediaType::video)) return;
    uvcManager_.prober()->refreshData(true);
    const auto removed = indexOf(device);
    if (!removed) return;
    const bool wasShown = removed == shownIndex();
    if (wasShown) uvcManager_.letGoOfInterface();
    devicesArray_.erase(devicesArray_.begin() + static_cast<std::ptrdiff_t>(*removed));
    if (devicesArray_.empty()) {
        if (displayView() != nullptr) displayView()->stopRunning();
        showCameraButtons({});
        setCameraControlViewEnable(false);
        Q_EMIT shownCameraChanged();
        Q_EMIT controlsBound();
    } else if (wasShown) {
        switchCameraWithIndex(0);
    } else {
        showCameraButtons(shownIndex()); // the camera shown may have a new index
    }
}

// The panel reacts to capture devices instead.
void ViewController::busProberInformationDidChange() {}

std::optional<std::size_t> ViewController::indexOf(const std::shared_ptr<CaptureDevice>& device) const {
    const auto found = std::ranges::find(devicesArray_, device);
    if (found == devicesArray_.end()) return {};
    return static_cast<std::size_t>(found - devicesArray_.begin());
}

std::optional<std::size_t> ViewController::shownIndex() const {
    return displayView() != nullptr ? indexOf(displayView()->captureDevice()) : std::nullopt;
}

std::shared_ptr<CaptureDevice> ViewController::shownCamera() const {
    const auto index = shownIndex();
    return index ? devicesArray_[*index] : nullptr;
}

} // namespace tavelo
