// SPDX-License-Identifier: MIT
// The window with the panel in it.
#pragma once

#include <memory>

#include "app/all_controls.h"
#include "app/app_delegate.h"
#include "app/camera_access.h"
#include "app/kt_application.h"
#include "app/kt_window.h"
#include "app/kt_window_controller.h"
#include "app/panel_menu.h"
#include "app/program_language.h"
#include "app/screen_fit.h"
#include "app/window_features.h"
#include "commands/control_catalog.h"
#include "panel/view_controller.h"
#include "platform/asset_writer.h"
#include "platform/diagnostics.h"

namespace tavelo {

/// What the window is made of.  Everything but the host must outlive it.
struct PanelWindowParts {
    KTApplication& application;
    PanelOptions panel;
    ProgramLanguage& language;
    std::shared_ptr<AssetWriterPlatform> assetWriters;
    Diagnostics& diagnostics;
    const ControlCatalog& catalog;
    WindowHost& host; ///< of stills and movies; not used in the constructor nor by the destructor
};

/// Shows the first camera and the window when it is made.  Main thread.
class PanelWindow {
public:
    explicit PanelWindow(const PanelWindowParts& parts);
    ~PanelWindow();

    PanelWindow(const PanelWindow&) = delete;
    PanelWindow& operator=(const PanelWindow&) = delete;

    KTWindow& window() { return window_; }
    ViewController& panel() { return panel_; }
    AllControls& allControls() { return allControls_; }

    /// Shows the window again and brings it to the front.
    void show();

private:
    /// Puts the panel into the window, before whatever needs it there.
    struct Contents {
        Contents(KTWindow& window, KTWindowController& controller, ViewController& panel);
    };

    KTWindow window_;
    KTWindowController windowController_{window_};
    ViewController panel_;
    const Contents contents_;
    const ScreenFit screenFit_;
    const CameraAccess cameraAccess_;
    AppDelegate delegate_{windowController_, cameraAccess_};
    PanelMenu menu_;
    const WindowFeatures features_;
    AllControls allControls_;
};

} // namespace tavelo
