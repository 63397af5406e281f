// SPDX-License-Identifier: MIT
// Shows, moves, closes and minimises the main window.
#pragma once

#include <QObject>

#include "app/kt_window.h"
#include "panel/panel_window.h"

namespace tavelo {

/// Thread-bound to the main thread; neither owns the other.
class KTWindowController final : public QObject, public PanelWindow {
    Q_OBJECT

public:
    explicit KTWindowController(KTWindow& window);

    KTWindow& window() const { return window_; }

    /// Called once the window has its content: makes its background a handle to drag it by and brings it to
    /// the front.
    void windowDidLoad();

    void makeKeyAndOrderFront();

    /// Hides the window; the program and the camera's session go on.
    void close() override;
    void miniaturize(QObject* sender) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    KTWindow& window_;
};

} // namespace tavelo
