// SPDX-License-Identifier: MIT
// Observes the application's life.
#pragma once

#include "app/camera_access.h"
#include "app/kt_window_controller.h"

namespace tavelo {

/// Thread-bound to the main thread.
class AppDelegate {
public:
    /// Both outlive the delegate.
    /// @param windowController shows the application's first window
    AppDelegate(KTWindowController& windowController, const CameraAccess& cameraAccess);

    /// The main window; null before applicationDidFinishLaunching().
    KTWindow* window() const { return window_; }

    /// Asks for access to the camera where that is not granted yet.
    void applicationDidFinishLaunching();

    /// Nothing to do: the window, the session and the camera end with their owners.
    void applicationWillTerminate() {}

    /// The program was started again: its window comes back, the camera's session goes on untouched.
    /// @return true, the reopening is handled
    bool applicationShouldHandleReopenHasVisibleWindows(bool hasVisibleWindows);

private:
    KTWindowController& windowController_;
    const CameraAccess& cameraAccess_;
    KTWindow* window_ = nullptr;
};

} // namespace tavelo
