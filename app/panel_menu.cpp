// SPDX-License-Identifier: MIT
#include "app/panel_menu.h"

#include <QContextMenuEvent>
#include <QKeySequence>
#include <QWindow>

#include "app/menu_key.h"
#include "widgets/localized_text.h"
#include "widgets/panel_look.h"

namespace tavelo {

PanelMenu::PanelMenu(QWidget& window, const Bundle& bundle, ProgramLanguage& language)
    : window_(window),
      bundle_(bundle),
      language_(language),
      languages_(nullptr),
      menuKey_(Qt::SHIFT | Qt::Key_F10, &window) {
    menu_.setObjectName(QStringLiteral("contextMenu"));
    connectActions();
    addLanguages();
    retranslate();
    window_.installEventFilter(this);
}

// The sections' entries depend on the camera.
void PanelMenu::arrange() {
    menu_.clear(); // deletes only the separators
    for (MenuSection* section : sections_) {
        menu_.addActions(section->entries());
        menu_.addSeparator(); // shown only between entries
    }
    menu_.addAction(&allControls_);
    menu_.addAction(&reconnect_);
    menu_.addMenu(&languageMenu_);
    menu_.addAction(&about_);
    menu_.addSeparator();
    menu_.addAction(&quit_);
    // A line to read cannot have the focus, so screen readers get it with the menu.
    const QAction* const first = menu_.actions().constFirst();
    menu_.setAccessibleName(first->isEnabled() ? QString() : first->text());
}

void PanelMenu::connectActions() {
    setMenuKey(allControls_, Qt::CTRL | Qt::Key_A, window_);
    setMenuKey(reconnect_, Qt::Key_F5, window_);
    setMenuKey(quit_, Qt::CTRL | Qt::Key_Q, window_);
    connect(&about_, &QAction::triggered, this, &PanelMenu::aboutChosen);
    connect(&allControls_, &QAction::triggered, this, &PanelMenu::allControlsChosen);
    connect(&reconnect_, &QAction::triggered, this, &PanelMenu::reconnectChosen);
    connect(&quit_, &QAction::triggered, this, &PanelMenu::quitChosen);
    connect(&menuKey_, &QShortcut::activated, this, [this] {
        const QWidget* place = window_.focusWidget() != nullptr ? window_.focusWidget() : &window_;
        popup(place->mapToGlobal(place->rect().center()));
    });
}

void PanelMenu::addLanguages() {
    const auto add = [this](QAction* action, const std::string& localization) {
        action->setCheckable(true);
        action->setChecked(localization == language_.chosen());
        languages_.addAction(action);
        languageMenu_.addAction(action);
        connect(action, &QAction::triggered, this, [this, localization] { choose(localization); });
    };
    add(&systemLanguage_, {});
    languageMenu_.addSeparator();
    for (const std::string& localization : bundle_.localizations()) {
        // Each language is named in that language, so that its speakers can find it.
        const std::string name = bundle_.string(localization, "language_name").value_or(localization);
        add(new QAction(QString::fromStdString(name), &languages_), localization);
    }
}

void PanelMenu::choose(const std::string& localization) {
    language_.choose(localization);
    retranslate();
    Q_EMIT languageChanged();
}

void PanelMenu::retranslate() {
    about_.setText(localizedText(bundle_, "About"));
    allControls_.setText(localizedText(bundle_, "All_controls"));
    reconnect_.setText(localizedText(bundle_, "Reconnect_camera"));
    languageMenu_.setTitle(localizedText(bundle_, "Language"));
    systemLanguage_.setText(localizedText(bundle_, "System_language"));
    quit_.setText(localizedText(bundle_, "Quit"));
    for (MenuSection* section : sections_)
        section->retranslate();
}

bool PanelMenu::eventFilter(QObject* watched, QEvent* event) {
    if (watched != &window_ || event->type() != QEvent::ContextMenu)
        return QObject::eventFilter(watched, event);
    popup(static_cast<QContextMenuEvent*>(event)->globalPos());
    return true;
}

void PanelMenu::popup(const QPoint& globalPosition) {
    Q_EMIT aboutToOpen();
    arrange();
    applyPanelLook(menu_); // the desktop's look may be another one by now
    applyPanelLook(languageMenu_);
    // Some window systems show a menu only if it has a parent window.
    menu_.winId();
    menu_.windowHandle()->setTransientParent(window_.windowHandle());
    menu_.popup(globalPosition);
}

} // namespace tavelo
