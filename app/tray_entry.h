// SPDX-License-Identifier: MIT
// The program's entry in the desktop's tray.
#pragma once

#include <QAction>
#include <QMenu>
#include <QObject>
#include <QString>
#include <QSystemTrayIcon>
#include <optional>

#include "app/marked_icons.h"
#include "platform/bundle.h"

namespace tavelo {

/// An icon with a tool tip and a menu: what goes on, Show Window, Release Camera, Quit.  Main thread.
class TrayEntry final : public QObject {
    Q_OBJECT

public:
    struct Look {
        QString line; ///< what goes on
        IconMark mark = IconMark::none;
        bool hasCamera = false; ///< to release
    };

    /// @param bundle must outlive this object
    explicit TrayEntry(const Bundle& bundle);

    /// Shows the entry, or changes it.
    void show(const Look& look);
    void hide() { icon_.hide(); }

Q_SIGNALS:
    void showChosen();
    void releaseChosen();
    void quitChosen();

private:
    const Bundle& bundle_;
    QAction line_;
    QAction show_;
    QAction release_;
    QAction quit_;
    QMenu menu_;
    QSystemTrayIcon icon_;
    MarkedIcons icons_;
    std::optional<IconMark> mark_; // nothing while there is no icon
};

} // namespace tavelo
