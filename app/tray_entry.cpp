// SPDX-License-Identifier: MIT
#include "app/tray_entry.h"

#include <QGuiApplication>
#include <utility>

#include "app/menu_text.h"
#include "widgets/localized_text.h"

namespace tavelo {

TrayEntry::TrayEntry(const Bundle& bundle) : bundle_(bundle) {
    line_.setEnabled(false);
    menu_.addAction(&line_);
    menu_.addSeparator();
    menu_.addActions({&show_, &release_});
    menu_.addSeparator();
    menu_.addAction(&quit_);
    icon_.setContextMenu(&menu_);
    connect(&show_, &QAction::triggered, this, &TrayEntry::showChosen);
    connect(&release_, &QAction::triggered, this, &TrayEntry::releaseChosen);
    connect(&quit_, &QAction::triggered, this, &TrayEntry::quitChosen);
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) Q_EMIT showChosen();
    });
}

void TrayEntry::show(const Look& look) {
    const auto text = [this](std::string_view key) { return localizedText(bundle_, key); };
    line_.setText(plainMenuText(look.line));
    show_.setText(text("Show_window"));
    release_.setText(text("Release_camera"));
    release_.setEnabled(look.hasCamera);
    quit_.setText(text("Quit"));
    icon_.setToolTip(QStringLiteral("%1: %2").arg(QGuiApplication::applicationDisplayName(), look.line));
    if (std::exchange(mark_, look.mark) != look.mark) icon_.setIcon(icons_.with(look.mark));
    icon_.show();
}

} // namespace tavelo
