// SPDX-License-Identifier: MIT
// Binds the controls to the camera shown, and handles cameras that fail or do not answer.
#include "panel/view_controller.h"
#include "profiles/camera_settings.h"
#include "widgets/kt_slider.h"

namespace tavelo {

void ViewController::bindControls(const CaptureDevice& device) {
    readAgainTimer_.stop();
    cameraSettingKey_.reset();
    isBehind_.fill(false);
    // Ends a drag that began with another camera, or with values that are about to change.
    for (const SliderRow& row : view_->rows())
        row.slider->cancelDrag();
    reopening_.dragEnded();

    const bool bound =
        uvcManager_.refreshDataWithUniqueIDString(device.uniqueID()) && uvcManager_.isControllable();
    if (bound) {
        refreshCameraSettingData();
        cameraSettingKey_ = camera_settings::keyForCamera(device.uniqueID());
        // Values that could not be read would be stored permanently as -1.
        if (uvcManager_.recordsAreRead()) createSettingsRecordIfMissing();
    }
    setCameraControlViewEnable(bound);
    follower_.followInterface();
    Q_EMIT controlsBound();
}

void ViewController::readAgainAfterQuiet() {
    if (uvcManager_.interfaceIsClosed()) readAgainTimer_.start(ReopeningPolicy::quietTime);
}

void ViewController::readAgain() {
    if (const auto index = shownIndex()) bindControls(*devicesArray_[*index]);
}

bool ViewController::prepareAction() {
    const bool isRead = uvcManager_.recordsAreRead();
    // A camera without controls of the class may have those of an extension unit.
    if (uvcManager_.interface() == nullptr || (!isRead && !uvcManager_.isControllable())) return false;
    if (isRead && !uvcManager_.interfaceIsClosed()) return true;
    if (readAgainTimer_.isActive()) readAgainTimer_.start(); // a user action restarts the quiet time

    const auto index = shownIndex();
    if (!index || !reopening_.mayOpen(uvcManager_.failure(), uvcManager_.failedAt(), uvcManager_.now()))
        return isRead;
    if (isRead) {
        uvcManager_.openInterfaceAgain();
        follower_.followInterface();
        return true;
    }
    bindControls(*devicesArray_[*index]);
    return false;
}

void ViewController::cameraAction(bool held, const std::function<void()>& action) {
    if (prepareAction()) action();
    reopening_.actionEnded(uvcManager_.now(), held);
}

} // namespace tavelo
