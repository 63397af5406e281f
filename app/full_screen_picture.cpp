// SPDX-License-Identifier: MIT
#include "app/full_screen_picture.h"

#include <QEvent>
#include <QMouseEvent>
#include <chrono>

#include "video/kt_display_view.h"

namespace tavelo {
namespace {

constexpr std::chrono::milliseconds settlingTime{500};

} // namespace

FullScreenPicture::FullScreenPicture(KTWindow& window, PanelView& view)
    : window_(window),
      view_(view),
      escape_(Qt::Key_Escape, &window) {
    escape_.setEnabled(false); // otherwise nothing else in the window would get the key
    connect(&escape_, &QShortcut::activated, this, [this] { setOn(false); });
    settling_.setSingleShot(true);
    connect(&settling_, &QTimer::timeout, this, &FullScreenPicture::followState);
    if (view.displayView() != nullptr) view.displayView()->installEventFilter(this);
    window.installEventFilter(this);
}

void FullScreenPicture::setOn(bool on) {
    if (view_.displayView() == nullptr || on == isOn()) return;
    if (on) {
        focus_ = window_.focusWidget();
        if (!window_.isFullScreen()) geometry_ = window_.geometry();
    }
    view_.setShowsPictureAlone(on);
    escape_.setEnabled(on);
    const Qt::WindowStates state = window_.windowState().setFlag(Qt::WindowFullScreen, on);
    if (state != window_.windowState()) settling_.start(settlingTime);
    window_.setWindowState(state);
    if (!on && focus_) focus_->setFocus(Qt::OtherFocusReason);
    Q_EMIT changed();
}

bool FullScreenPicture::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_.displayView() && event->type() == QEvent::MouseButtonDblClick &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        setOn(!isOn());
        return true;
    }
    if (watched == &window_ && event->type() == QEvent::WindowStateChange) followState();
    if (watched == &window_ && event->type() == QEvent::Hide && !event->spontaneous() && isOn())
        windowWasClosed();
    return QObject::eventFilter(watched, event);
}

// The window manager has keys of its own.  While a window comes back from being minimised, it also ends the
// full screen for a moment.  And just after it was asked for a state, it may still tell the one before, if
// something else about the window changed at that time.
void FullScreenPicture::followState() {
    if (settling_.isActive()) return;
    if (window_.isVisible() && !window_.isMinimized()) setOn(window_.isFullScreen());
}

// The window comes back as a new one, of which the window manager knows no other size.
void FullScreenPicture::windowWasClosed() {
    setOn(false);
    if (geometry_.isValid()) window_.setGeometry(geometry_);
}

} // namespace tavelo
