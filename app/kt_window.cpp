// SPDX-License-Identifier: MIT
#include "app/kt_window.h"

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

} // namespace tavelo
