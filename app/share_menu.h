// SPDX-License-Identifier: MIT
// The context menu's entry that shares the picture.
#pragma once

#include <QAction>
#include <QObject>
#include <QString>

#include "app/menu_section.h"
#include "app/window_host.h"
#include "platform/bundle.h"

namespace tavelo {

/// Share Picture, checked while it is shared, and why no program sees it.  Main thread.
class ShareMenu final : public QObject, public MenuSection {
    Q_OBJECT

public:
    /// Both must outlive this object.
    ShareMenu(WindowHost& host, const Bundle& bundle);

    QList<QAction*> entries() override;
    void retranslate() override;

private:
    WindowHost& host_;
    const Bundle& bundle_;
    QAction share_;
    QAction failure_;
};

/// "Picture is shared", for titles.
QString sharingText(const Bundle& bundle);

} // namespace tavelo
