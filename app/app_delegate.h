// SPDX-License-Identifier: MIT
// Handles the application's start, end and reopening.
#pragma once

#include "app/camera_access.h"
#include "app/kt_window_controller.h"

namespace tavelo {

/// Thread-bound to the main thread.
class AppDelegate {
public:
    /// Both must outlive the delegate.
    /// @param windowController shows the main window
    AppDelegate(KTWindowController& windowController, const CameraAccess& cameraAccess);

    /// The main window; null before applicationDidFinishLaunching().
    KTWindow* window() const { return window_; }

    /// Asks for access to the camera if it is not granted yet.
    void applicationDidFinishLaunching();

    /// Does nothing: the owners of window, session and camera release them.
    void applicationWillTerminate() {}

    /// Called when the program is started again: shows the window.  The camera's session is not affected.
    /// @return true: the request is handled
    bool applicationShouldHandleReopenHasVisibleWindows(bool hasVisibleWindows);

private:
    KTWindowController& windowController_;
    const CameraAccess& cameraAccess_;
    KTWindow* window_ = nullptr;
};

} // namespace tavelo
