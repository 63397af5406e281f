// SPDX-License-Identifier: MIT
#include "app/about_panel.h"

#include <QApplication>
#include <QDialog>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

namespace tavelo {
namespace {

const QString objectName = QStringLiteral("aboutPanel");
constexpr int iconSize = 64;
constexpr int creditsPixels = 12;

QLabel* centredLabel(const QString& text, const QString& style) {
    auto* label = new QLabel(text);
    label->setAlignment(Qt::AlignCenter);
    label->setStyleSheet(style);
    return label;
}

QDialog* makeAboutPanel(QWidget* parent, const QString& credits) {
    auto* panel = new QDialog(parent);
    panel->setObjectName(objectName);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowTitle(QApplication::applicationDisplayName());
    // The credits are black whatever the desktop's theme is, so the ground under them is light.
    panel->setStyleSheet(QStringLiteral("QDialog { background: #f2f2f2; } QLabel { color: black; }"));

    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(48, 28, 48, 28);
    layout->setSpacing(8);
    auto* icon = new QLabel;
    icon->setAlignment(Qt::AlignCenter);
    icon->setPixmap(QApplication::windowIcon().pixmap(iconSize, iconSize));
    layout->addWidget(icon);
    layout->addWidget(centredLabel(QApplication::applicationDisplayName(),
                                   QStringLiteral("font-size: 16px; font-weight: bold;")));
    layout->addWidget(centredLabel(QApplication::applicationVersion(), QStringLiteral("color: #555555;")));
    layout->addSpacing(8);
    auto* creditsLabel = centredLabel(credits, QStringLiteral("font-size: %1px;").arg(creditsPixels));
    creditsLabel->setObjectName(QStringLiteral("credits"));
    layout->addWidget(creditsLabel);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    return panel;
}

} // namespace

void showAboutPanel(QWidget* parent, const QString& credits) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() != objectName) continue;
        window->raise();
        window->activateWindow();
        return;
    }
    makeAboutPanel(parent, credits)->show();
}

} // namespace tavelo
