// SPDX-License-Identifier: MIT
// A manager that is bound to a virtual camera.
#pragma once

#include <memory>

#include "platform/virtual/backend.h"
#include "support/manual_main_queue.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo::testing {

class BoundVirtualCamera {
public:
    /// @param model its controls may be changed by the test first
    explicit BoundVirtualCamera(const VirtualCameraModel& model = virtualCameraModel(1)) {
        camera = backend.bus->plug(model);
        manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
        bind();
    }

    /// Binds again, as a later start of a program does.
    void bind() { manager.refreshDataWithLocationID({.locationIDs = {camera->model().locationID}}); }

    ManualMainQueue mainQueue;
    VirtualBackend backend = makeVirtualBackend(0, {}, mainQueue);
    std::shared_ptr<VirtualCameraFirmware> camera;
    KTUVCManager manager{KTUVCEnvironment{.usb = backend.usb.get()}};
};

} // namespace tavelo::testing
