// SPDX-License-Identifier: MIT
#include "app/kt_window_controller.h"

#include <QMouseEvent>
#include <QWindow>

namespace tavelo {

KTWindowController::KTWindowController(KTWindow& window) : window_(window) {}

void KTWindowController::windowDidLoad() {
    window_.installEventFilter(this);
    makeKeyAndOrderFront();
}

void KTWindowController::makeKeyAndOrderFront() {
    if (window_.isMinimized())
        window_.showNormal();
    else
        window_.show();
    window_.raise();
    window_.activateWindow();
}

void KTWindowController::close() {
    window_.close();
}

void KTWindowController::miniaturize() {
    window_.showMinimized();
}

// Presses that no control handles arrive here.  The window system moves the window, because only it knows
// about snapping, several screens and, on Wayland, window positions.
bool KTWindowController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &window_ && event->type() == QEvent::MouseButtonPress) {
        const auto* press = static_cast<QMouseEvent*>(event);
        if (press->button() == Qt::LeftButton && window_.windowHandle() != nullptr &&
            !window_.isFullScreen()) {
            window_.windowHandle()->startSystemMove();
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tavelo
