// SPDX-License-Identifier: MIT
// The picture alone on the whole screen.
#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QShortcut>
#include <QTimer>

#include "app/kt_window.h"
#include "panel/panel_view.h"

namespace tavelo {

/// A double click on the preview shows the picture alone, and another one or Esc shows the panel again, and
/// so do the window manager's own keys for a full screen.
/// Main thread.
class FullScreenPicture final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive this object.
    FullScreenPicture(KTWindow& window, PanelView& view);

    bool isOn() const { return view_.showsPictureAlone(); }
    /// Does nothing without a preview.
    void setOn(bool on);

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void followState();
    void windowWasClosed();

    KTWindow& window_;
    PanelView& view_;
    QShortcut escape_;
    QTimer settling_;         // since the window was asked for another state
    QPointer<QWidget> focus_; // had it before
    QRect geometry_;          // of the window before
};

} // namespace tavelo
