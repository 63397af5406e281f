// SPDX-License-Identifier: MIT
#include "app/about_panel.h"

#include <QApplication>
#include <QDialog>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/software_list.h"
#include "widgets/localized_text.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

const QString objectName = QStringLiteral("aboutPanel");
constexpr int iconSize = 64;

QLabel* centredLabel(const QString& text, const QString& style) {
    auto* label = new QLabel(text);
    label->setAlignment(Qt::AlignCenter);
    label->setStyleSheet(panelStyle(style));
    return label;
}

// Black on a light background, regardless of the surrounding colours.
QLabel* makeCredits(const QString& credits) {
    auto* label = new QLabel(credits);
    label->setObjectName(QStringLiteral("credits"));
    label->setAlignment(Qt::AlignCenter);
    label->setStyleSheet(panelStyle(QStringLiteral(
        "color: black; background: #ececec; border-radius: 6px; padding: 12px 18px; font-size: @small;")));
    return label;
}

QHBoxLayout* makeButtons(QDialog* panel, const Bundle& bundle) {
    const auto text = [&bundle](std::string_view key) { return localizedText(bundle, key); };
    auto* software = new QPushButton(text("Open_source_software"));
    software->setObjectName(QStringLiteral("openSoftwareList"));
    software->setAutoDefault(false);
    QObject::connect(software, &QPushButton::clicked, panel,
                     [panel, &bundle] { showSoftwareList(panel, bundle); });
    auto* close = new QPushButton(text("Close"));
    close->setDefault(true);
    QObject::connect(close, &QPushButton::clicked, panel, &QDialog::close);
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(software);
    row->addWidget(close);
    return row;
}

QDialog* makeAboutPanel(QWidget* parent, const QString& credits, const Bundle& bundle) {
    auto* panel = new QDialog(parent);
    panel->setObjectName(objectName);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowTitle(QApplication::applicationDisplayName());
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(40, 28, 40, 24);
    layout->setSpacing(8);
    auto* icon = new QLabel;
    icon->setAlignment(Qt::AlignCenter);
    icon->setPixmap(QApplication::windowIcon().pixmap(iconSize, iconSize));
    layout->addWidget(icon);
    layout->addWidget(centredLabel(QApplication::applicationDisplayName(),
                                   QStringLiteral("font-size: @title; font-weight: bold;")));
    layout->addWidget(centredLabel(QApplication::applicationVersion(),
                                   QStringLiteral("color: @quiet; font-size: @small;")));
    layout->addSpacing(10);
    layout->addWidget(makeCredits(credits));
    layout->addSpacing(10);
    layout->addLayout(makeButtons(panel, bundle));
    layout->setSizeConstraint(QLayout::SetFixedSize);
    applyPanelLook(*panel);
    return panel;
}

} // namespace

void showAboutPanel(QWidget* parent, const QString& credits, const Bundle& bundle) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() != objectName) continue;
        window->raise();
        window->activateWindow();
        return;
    }
    QDialog* panel = makeAboutPanel(parent, credits, bundle);
    panel->show();
    panel->activateWindow();
}

} // namespace tavelo
