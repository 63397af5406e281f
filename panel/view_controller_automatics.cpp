// SPDX-License-Identifier: MIT
// Choices that the panel's face does not offer: any camera, and the camera's automatic functions.
#include <QPointer>

#include "panel/automatic_functions.h"
#include "panel/view_controller.h"

namespace tavelo {

void ViewController::showCamera(const std::shared_ptr<CaptureDevice>& camera) {
    const auto index = indexOf(camera);
    if (index && index != shownIndex()) switchCameraWithIndex(*index);
}

void ViewController::setAutomatic(const AutomaticFunction& function, bool on) {
    bool taken = false;
    for (const std::int64_t value : valuesFor(uvcManager_, function, on)) {
        if (taken) break;
        cameraAction(false, [&] {
            const BindingIdentity binding = uvcManager_.bindingIdentity();
            uvcManager_.setControlWithComplitionHandle(
                function.automatic, value, [&taken, panel = QPointer(this), binding](bool accepted) {
                    taken = accepted && panel && panel->isBoundAs(binding);
                });
        });
    }
    if (!taken) return;
    tellChanged(function.automatic);
    // The camera has chosen a value meanwhile.
    if (on || uvcManager_.refreshControl(function.manual) != ControlRefresh::changed) return;
    showControl(function.manual);
    tellChanged(function.manual);
}

} // namespace tavelo
