// SPDX-License-Identifier: MIT
// Lets other programs have the camera for a while.
#include <algorithm>
#include <utility>

#include "panel/view_controller.h"
#include "video/kt_display_view.h"

namespace tavelo {

void ViewController::releaseCamera() {
    const std::shared_ptr<CaptureDevice> camera = shownCamera();
    if (!camera) return;
    releasedCamera_ = camera->uniqueID();
    settleTimer_.stop();
    readAgainTimer_.stop();
    displayView()->showDevice(nullptr);
    displayView()->stopRunning(); // makes the picture black, which would look live otherwise
    uvcManager_.letGoOfInterface();
    cameraSettingKey_.reset();
    showCameraButtons({});
    setCameraControlViewEnable(false);
    Q_EMIT shownCameraChanged();
    Q_EMIT controlsBound();
}

void ViewController::takeCamera() {
    const std::optional<std::string> released = std::exchange(releasedCamera_, {});
    if (!released || devicesArray_.empty()) return;
    const auto found =
        std::ranges::find(devicesArray_, *released, [](const auto& device) { return device->uniqueID(); });
    switchCameraWithIndex(
        found == devicesArray_.end() ? 0 : static_cast<std::size_t>(found - devicesArray_.begin()));
}

} // namespace tavelo
