// SPDX-License-Identifier: MIT
#include "app/app_delegate.h"

namespace tavelo {

AppDelegate::AppDelegate(KTWindowController& windowController, const CameraAccess& cameraAccess)
    : windowController_(windowController),
      cameraAccess_(cameraAccess) {}

void AppDelegate::applicationDidFinishLaunching() {
    window_ = &windowController_.window();
    if (!cameraAccess_.isAuthorized()) cameraAccess_.request();
}

bool AppDelegate::applicationShouldHandleReopenHasVisibleWindows(bool /*hasVisibleWindows*/) {
    windowController_.makeKeyAndOrderFront();
    return true;
}

} // namespace tavelo
