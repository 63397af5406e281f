// SPDX-License-Identifier: MIT
// Observes the application's life.
#pragma once

#include "app/kt_window_controller.h"

namespace tavelo {

/// Thread-bound to the main thread.
class AppDelegate {
public:
    /// @param windowController shows the application's first window; outlives the delegate
    explicit AppDelegate(KTWindowController& windowController);

    /// The main window; null before applicationDidFinishLaunching().
    KTWindow* window() const { return window_; }

    void applicationDidFinishLaunching();

    /// Nothing to do: the window, the session and the camera end with their owners.
    void applicationWillTerminate() {}

    /// The program was started again: its window comes back, the camera's session goes on untouched.
    /// @return true, the reopening is handled
    bool applicationShouldHandleReopenHasVisibleWindows(bool hasVisibleWindows);

private:
    KTWindowController& windowController_;
    KTWindow* window_ = nullptr;
};

} // namespace tavelo
