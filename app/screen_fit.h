// SPDX-License-Identifier: MIT
// Scales the panel down on a screen that is too small for it.
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QWidget>

#include "panel/panel_view.h"

class QScreen;

namespace tavelo {

/// Keeps the window's smallest size that of the whole panel, and the panel's scale such that it fits the
/// screen that the window is on: at the start, on another screen, and when the screen changes.  On a larger
/// screen the window gets its size back.  Main thread.
class ScreenFit final : public QObject {
    Q_OBJECT

public:
    /// @param window holds the view, and has not been shown yet; it gets its native window
    ScreenFit(QWidget& window, PanelView& view);

private:
    void follow(QScreen* screen);
    void fit();
    void bringIntoView();

    QWidget& window_;
    PanelView& view_;
    const QScreen* screen_ = nullptr; // the one that is followed, compared only: it may be gone
    QMetaObject::Connection changes_; // of that screen
};

} // namespace tavelo
