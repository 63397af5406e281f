// SPDX-License-Identifier: MIT
#include "app/kt_window_controller.h"

#include <QApplication>
#include <QWindow>

namespace tavelo {

KTWindowController::KTWindowController(KTWindow& window) : window_(window) {
    beginsMove_.setSingleShot(true);
    connect(&beginsMove_, &QTimer::timeout, this, [this] {
        if (window_.windowHandle() != nullptr) window_.windowHandle()->startSystemMove();
    });
}

void KTWindowController::windowDidLoad() {
    window_.installEventFilter(this);
    makeKeyAndOrderFront();
}

void KTWindowController::makeKeyAndOrderFront() {
    // Not showNormal(), which also ends a full screen.
    window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
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
// about snapping, several screens and, on Wayland, window positions.  It begins with the drag, not with the
// press: a window manager that starts to move after the button is up keeps the pointer and the keys until the
// next click, and swallows the second half of a double click.  For the same reason the events that already
// wait come first: the release may be among them, and if it is at another place than the press, Qt sends it
// as a move with the button down and a release.
bool KTWindowController::eventFilter(QObject* watched, QEvent* event) {
    if (watched != &window_) return QObject::eventFilter(watched, event);
    switch (event->type()) {
        case QEvent::MouseButtonPress:
            return press(*static_cast<QMouseEvent*>(event));
        case QEvent::MouseMove:
            return drag(*static_cast<QMouseEvent*>(event));
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::Hide:
            endPress();
            break;
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

bool KTWindowController::press(const QMouseEvent& event) {
    endPress();
    const bool begins = event.button() == Qt::LeftButton && !window_.isFullScreen();
    if (begins) pressedAt_ = event.globalPosition().toPoint();
    return begins;
}

bool KTWindowController::drag(const QMouseEvent& event) {
    if (!pressedAt_ || !event.buttons().testFlag(Qt::LeftButton)) return false;
    const QPoint way = event.globalPosition().toPoint() - *pressedAt_;
    if (way.manhattanLength() < QApplication::startDragDistance()) return true;
    pressedAt_.reset();
    beginsMove_.start();
    return true;
}

void KTWindowController::endPress() {
    pressedAt_.reset();
    beginsMove_.stop();
}

} // namespace tavelo
