// SPDX-License-Identifier: MIT
// The program that shows the panel and serves the session bus.
#pragma once

#include <memory>
#include <optional>

#include "app/command_line.h"
#include "app/desktop_look.h"
#include "app/idle_end.h"
#include "app/kt_application.h"
#include "app/panel_window.h"
#include "app/program_language.h"
#include "app/resources/resource_bundle.h"
#include "app/screenshot.h"
#include "app/single_instance.h"
#include "app/window_host.h"
#include "commands/control_catalog.h"
#include "platform/backend.h"
#include "platform/preferences_store.h"
#include "process/qt_main_queue.h"
#include "process/stderr_diagnostics.h"
#include "service/control_panel_service.h"
#include "text/localizer.h"

namespace tavelo {

/// With the warnings that the user must see.
CameraOptions panelCameraOptions(const CommandLine& commandLine);

/// One panel.  Main thread; one per process, because the manager of the shown camera is.
class PanelProgram {
public:
    /// @param instance for the service; null: the panel serves nobody
    /// @param hasDisplay without one the window cannot be shown
    PanelProgram(const CommandLine& commandLine, KTApplication& application, SingleInstance* instance,
                 bool hasDisplay);
    ~PanelProgram();

    PanelProgram(const PanelProgram&) = delete;
    PanelProgram& operator=(const PanelProgram&) = delete;

    /// Shows the window, unless the program only serves, and runs the event loop.
    /// @return the exit status
    int run();

private:
    /// @return why the window cannot be shown
    std::optional<ServiceError> show();
    void serve(SingleInstance& instance);
    void endWhenIdle(SingleInstance& instance);

    const CommandLine& commandLine_;
    KTApplication& application_;
    const bool hasDisplay_;

    QtMainQueue mainQueue_;
    StderrDiagnostics diagnostics_;
    DesktopLook desktopLook_;
    ResourceBundle bundle_;
    std::unique_ptr<PreferencesStore> userDefaults_;
    ProgramLanguage language_;
    const Localizer localizer_;
    const Backend cameras_;
    const std::shared_ptr<AssetWriterPlatform> assetWriters_;
    const ControlCatalog catalog_;

    // Each uses those above it.
    std::optional<PanelWindow> window_;
    std::optional<Screenshot> screenshot_;
    WindowHost host_;
    std::optional<ControlPanelService> service_;
    std::optional<IdleEnd> idleEnd_;
};

} // namespace tavelo
