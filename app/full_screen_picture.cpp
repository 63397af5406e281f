// SPDX-License-Identifier: MIT
#include "app/full_screen_picture.h"

#include <QEvent>
#include <QMouseEvent>

#include "video/kt_display_view.h"

namespace tavelo {

FullScreenPicture::FullScreenPicture(KTWindow& window, PanelView& view)
    : window_(window),
      view_(view),
      escape_(Qt::Key_Escape, &window) {
    escape_.setEnabled(false); // otherwise nothing else in the window would get the key
    connect(&escape_, &QShortcut::activated, this, [this] { setOn(false); });
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
    window_.setWindowState(window_.windowState().setFlag(Qt::WindowFullScreen, on));
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
// full screen for a moment.
void FullScreenPicture::followState() {
    if (window_.isVisible() && !window_.isMinimized()) setOn(window_.isFullScreen());
}

// The window comes back as a new one, of which the window manager knows no other size.
void FullScreenPicture::windowWasClosed() {
    setOn(false);
    if (geometry_.isValid()) window_.setGeometry(geometry_);
}

} // namespace tavelo
