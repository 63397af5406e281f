// SPDX-License-Identifier: MIT
// The window's part of the context menu.
#pragma once

#include <QAction>
#include <QObject>

#include "app/full_screen_picture.h"
#include "app/kt_window.h"
#include "app/menu_section.h"
#include "platform/bundle.h"

namespace tavelo {

/// Always on Top, and Full Screen (F11), which shows the picture alone.  Main thread.
class WindowMenu final : public QObject, public MenuSection {
    Q_OBJECT

public:
    /// All must outlive this object.
    WindowMenu(KTWindow& window, FullScreenPicture& picture, const Bundle& bundle);

    QList<QAction*> entries() override;
    void retranslate() override;

private:
    KTWindow& window_;
    const Bundle& bundle_;
    QAction onTop_;
    QAction fullScreen_;
};

} // namespace tavelo
