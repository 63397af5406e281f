// SPDX-License-Identifier: MIT
// The window of all controls beside the panel.
#pragma once

#include <QObject>
#include <QPointer>

#include "all-controls/all_controls_window.h"
#include "all-controls/camera_control_model.h"
#include "all-controls/unit_control_model.h"
#include "panel/view_controller.h"
#include "platform/bundle.h"
#include "platform/preferences_store.h"

namespace tavelo {

/// Shows the controls of the panel's camera, sends what the user chooses through the panel, and keeps the
/// window's place in the preferences.  The window is made when it is first shown.  Main thread.
class AllControls final : public QObject {
    Q_OBJECT

public:
    /// All must outlive it; the window becomes a child of `panelWindow`.
    AllControls(ViewController& panel, const Bundle& bundle, const ControlCatalog& catalog,
                QWidget& panelWindow);
    ~AllControls() override;

    /// Shows the window, or brings it to the front.
    void show();
    void languageDidChange();

    /// Null until it is first shown.
    AllControlsWindow* window() const { return window_; }

private:
    void makeWindow();
    void controlsWereBound();
    void windowWasActivated();
    void ask();
    void walk(ControlWalk walk);
    void restorePlace();
    void storePlace();

    ViewController& panel_;
    const Bundle& bundle_;
    QWidget& panelWindow_;
    CameraControlModel model_;
    UnitControlModel units_;
    QPointer<AllControlsWindow> window_;
};

} // namespace tavelo
