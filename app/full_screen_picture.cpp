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
    if (on) focus_ = window_.focusWidget();
    view_.setShowsPictureAlone(on);
    escape_.setEnabled(on);
    on ? window_.showFullScreen() : window_.showNormal();
    if (!on && focus_) focus_->setFocus(Qt::OtherFocusReason);
    Q_EMIT changed();
}

bool FullScreenPicture::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_.displayView() && event->type() == QEvent::MouseButtonDblClick &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        setOn(!isOn());
        return true;
    }
    // The window manager has a key of its own that ends it.
    if (watched == &window_ && event->type() == QEvent::WindowStateChange && isOn() &&
        !window_.isFullScreen() && !window_.isMinimized() && window_.isVisible())
        setOn(false);
    return QObject::eventFilter(watched, event);
}

} // namespace tavelo
