// SPDX-License-Identifier: MIT
#include "app/screen_fit.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace tavelo {
namespace {

// The screen area without the desktop's panels, in points.
QRect availableArea(const QWidget& window) {
    return window.screen() != nullptr ? window.screen()->availableGeometry() : QRect();
}

} // namespace

ScreenFit::ScreenFit(QWidget& window, PanelView& view) : window_(window), view_(view) {
    window_.winId(); // only the native window reports screen changes
    connect(window_.windowHandle(), &QWindow::screenChanged, this, &ScreenFit::follow);
    follow(window_.screen());
}

void ScreenFit::follow(QScreen* screen) {
    disconnect(changes_);
    if (screen == nullptr) return; // the last one was unplugged
    changes_ = connect(screen, &QScreen::availableGeometryChanged, this, [this] {
        fit();
        fitScreen();
    });
    fit();
    // Only if the former screen is gone, not while the user drags the window to another screen.
    const QScreen* const before = std::exchange(screen_, screen);
    if (before != nullptr && !QGuiApplication::screens().contains(before)) fitScreen();
}

void ScreenFit::fit() {
    const QSize available = availableArea(window_).size();
    const double scale = scaleToFit(available);
    const QSizeF inUnits = QSizeF(window_.size()) / view_.scale();
    view_.setScale(scale);
    const QSize smallest = (panelSize * scale).toSize();
    window_.setMinimumSize(smallest);
    if (window_.isMaximized() || window_.isFullScreen()) return; // the window manager sets the size
    const QSize wanted = (inUnits * scale).toSize();
    window_.resize(available.isEmpty() ? wanted : wanted.boundedTo(available).expandedTo(smallest));
}

// Not every window manager does this for a frameless window, whose close button may then be off screen.
void ScreenFit::fitScreen() {
    if (window_.isMaximized() || window_.isFullScreen()) return;
    const QRect area = availableArea(window_);
    if (area.isEmpty() || area.contains(window_.frameGeometry())) return;
    const QPoint latest = area.bottomRight() - window_.rect().bottomRight();
    window_.move(std::clamp(window_.x(), area.left(), std::max(area.left(), latest.x())),
                 std::clamp(window_.y(), area.top(), std::max(area.top(), latest.y())));
}

} // namespace tavelo
