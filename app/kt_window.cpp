// SPDX-License-Identifier: MIT
#include "app/kt_window.h"

#include <QWindow>

namespace tavelo {

KTWindow::KTWindow(const QRect& contentRect, WindowStyle style, bool backingAlpha, bool defer) {
    Qt::WindowFlags flags = Qt::Window;
    if (style == WindowStyle::borderless) flags |= Qt::FramelessWindowHint;
    setWindowFlags(flags | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint |
                   Qt::WindowSystemMenuHint);
    setAttribute(Qt::WA_TranslucentBackground, backingAlpha);
    setAttribute(Qt::WA_DeleteOnClose, false);
    resize(contentRect.size());
    if (!contentRect.topLeft().isNull()) move(contentRect.topLeft());
    if (!defer) create();
}

// QWidget::setWindowFlag() would hide the window and make its native window again, and with it the preview's.
void KTWindow::setStaysOnTop(bool stays) {
    overrideWindowFlags(windowFlags().setFlag(Qt::WindowStaysOnTopHint, stays));
    if (windowHandle() != nullptr) windowHandle()->setFlag(Qt::WindowStaysOnTopHint, stays);
}

} // namespace tavelo
