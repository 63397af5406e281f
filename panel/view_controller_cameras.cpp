// SPDX-License-Identifier: MIT
// Which camera is shown: the list, the two buttons, arrival and removal.
#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

#include "panel/view_controller.h"
#include "video/kt_display_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_profile_button.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// Cameras need a moment after their stream starts before they answer on the control interface.
constexpr auto settleTime = 100ms;

} // namespace

void ViewController::readVideoDevice() {
    devicesArray_.clear();
    std::ranges::copy_if(
        capture_.devicesWithMediaType(MediaType::video), std::back_inserter(devicesArray_),
        [this](const auto& device) { return uvcManager_.uniqueIDIsCorrect(device->uniqueID()); });
    if (devicesArray_.empty()) {
        setCameraControlViewEnable(false);
        return;
    }
    view_->camera1Button()->setEnabled(true);
    view_->camera1Button()->setSelected(true);
    const bool several = devicesArray_.size() > 1;
    view_->camera2Button()->setEnabled(several);
    if (several) view_->camera2Button()->setSelected(false);
    switchCameraWithIndex(0);
}

void ViewController::switchCameraWithIndex(std::size_t index) {
    cameraSettingKey_.reset();
    const std::shared_ptr<CaptureDevice> device = devicesArray_[index];
    if (displayView() != nullptr) displayView()->showDevice(device);
    std::this_thread::sleep_for(settleTime);
    profileIndex_ = -1;
    for (KTProfileButton* button : view_->profileButtons())
        button->setState(0);
    bindControls(*device);
    readAgainAfterQuiet();
}

void ViewController::camera1ButtonAction(QObject* /*sender*/) {
    if (shownIndex() == 0U) return;
    view_->camera1Button()->setSelected(true);
    view_->camera2Button()->setSelected(false);
    switchCameraWithIndex(0);
}

void ViewController::camera2ButtonAction(QObject* /*sender*/) {
    if (shownIndex() == 1U) return;
    view_->camera1Button()->setSelected(false);
    view_->camera2Button()->setSelected(true);
    switchCameraWithIndex(1);
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
    view_->camera1Button()->setEnabled(true);
    if (devicesArray_.size() == 1) {
        view_->camera2Button()->setEnabled(false);
        view_->camera1Button()->setSelected(true);
        switchCameraWithIndex(0);
        return;
    }
    view_->camera2Button()->setEnabled(true);
    if (devicesArray_.size() == 2) {
        view_->camera1Button()->setSelected(true);
        view_->camera2Button()->setSelected(false);
    }
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
        view_->camera1Button()->setEnabled(false);
        view_->camera2Button()->setEnabled(false);
        setCameraControlViewEnable(false);
        return;
    }
    view_->camera1Button()->setEnabled(true);
    if (devicesArray_.size() == 1) {
        view_->camera2Button()->setEnabled(false);
        view_->camera1Button()->setSelected(true);
    } else {
        view_->camera2Button()->setEnabled(true);
        if (wasShown) {
            view_->camera1Button()->setSelected(true);
            view_->camera2Button()->setSelected(false);
        }
    }
    if (wasShown) switchCameraWithIndex(0);
}

// The capture devices' own arrival and removal drive the panel.
void ViewController::busProberInformationDidChange() {}

std::optional<std::size_t> ViewController::indexOf(const std::shared_ptr<CaptureDevice>& device) const {
    const auto found = std::ranges::find(devicesArray_, device);
    if (found == devicesArray_.end()) return {};
    return static_cast<std::size_t>(found - devicesArray_.begin());
}

std::optional<std::size_t> ViewController::shownIndex() const {
    return displayView() != nullptr ? indexOf(displayView()->captureDevice()) : std::nullopt;
}

} // namespace tavelo
