// SPDX-License-Identifier: MIT
// The window's context menu and its keys.
#pragma once

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QObject>
#include <QPoint>
#include <QShortcut>
#include <QWidget>
#include <vector>

#include "app/menu_section.h"
#include "app/program_language.h"
#include "platform/bundle.h"

namespace tavelo {

/// The entries of its sections, then all controls (Ctrl+A), reconnect (F5), language, about, quit (Ctrl+Q).
/// The right mouse button, the menu key or Shift+F10 open the menu anywhere in the window; the other keys
/// also work while it is closed.  Thread-bound to the main thread.
class PanelMenu final : public QObject {
    Q_OBJECT

public:
    /// All must outlive the menu.
    PanelMenu(QWidget& window, const Bundle& bundle, ProgramLanguage& language);

    /// Puts a section below those added before.  It must live as long as the window is used.
    void addSection(MenuSection& section) { sections_.push_back(&section); }

Q_SIGNALS:
    /// Sent before the sections are asked for their entries.
    void aboutToOpen();
    void aboutChosen();
    void allControlsChosen();
    void reconnectChosen();
    /// The bundle's language has changed.
    void languageChanged();
    void quitChosen();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void connectActions();
    void addLanguages();
    void arrange();
    void retranslate();
    void popup(const QPoint& globalPosition);
    void choose(const std::string& localization);

    QWidget& window_;
    const Bundle& bundle_;
    ProgramLanguage& language_;
    std::vector<MenuSection*> sections_;
    QMenu menu_;
    QMenu languageMenu_;
    QActionGroup languages_;
    QAction about_;
    QAction allControls_;
    QAction reconnect_;
    QAction systemLanguage_;
    QAction quit_;
    QShortcut menuKey_; // Shift+F10, which Qt does not handle itself
};

} // namespace tavelo
