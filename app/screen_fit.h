// SPDX-License-Identifier: MIT
// Scales the panel down on a screen that is too small for it.
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QWidget>

#include "panel/panel_view.h"

class QScreen;

namespace tavelo {

/// Scales the panel so that it fits the window's screen: at the start, when the window moves to another
/// screen, and when the screen changes.  On a larger screen the window gets its size back.  The window cannot
/// be made smaller than the panel.  Main thread.
class ScreenFit final : public QObject {
    Q_OBJECT

public:
    /// @param window contains the view and has not been shown yet; this creates its native window
    ScreenFit(QWidget& window, PanelView& view);

private:
    void follow(QScreen* screen);
    void fit();
    void fitScreen();

    QWidget& window_;
    PanelView& view_;
    const QScreen* screen_ = nullptr; // may dangle, only compared
    QMetaObject::Connection changes_; // of screen_
};

} // namespace tavelo
