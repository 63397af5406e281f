// SPDX-License-Identifier: MIT
#include "app/app_delegate.h"

namespace tavelo {

AppDelegate::AppDelegate(KTWindowController& windowController) : windowController_(windowController) {}

void AppDelegate::applicationDidFinishLaunching() {
    window_ = &windowController_.window();
}

bool AppDelegate::applicationShouldHandleReopenHasVisibleWindows(bool /*hasVisibleWindows*/) {
    windowController_.makeKeyAndOrderFront();
    return true;
}

} // namespace tavelo
