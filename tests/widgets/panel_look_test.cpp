// SPDX-License-Identifier: MIT
#include "widgets/panel_look.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QToolTip>
#include <QVBoxLayout>

namespace tavelo {
namespace {

/// Runs with a light and with a dark desktop theme.
class PanelLookOn : public testing::TestWithParam<bool> {
protected:
    PanelLookOn() {
        const bool dark = GetParam();
        QApplication::setPalette(dark ? QPalette(QColor(10, 20, 90)) : QPalette(QColor(240, 240, 235)));
    }
    ~PanelLookOn() override { QApplication::setPalette(QPalette()); }

    static QColor corner(QWidget& widget) {
        widget.ensurePolished();
        const QImage picture = widget.grab().toImage();
        return picture.pixelColor(4, 4);
    }
};

TEST_P(PanelLookOn, DialogsHaveThePanelsBackground) {
    QDialog dialog;
    auto* layout = new QVBoxLayout(&dialog);
    auto* text = new QLabel(QStringLiteral("text"));
    auto* button = new QPushButton(QStringLiteral("OK"));
    layout->addWidget(text);
    layout->addWidget(button);
    applyPanelLook(dialog);
    dialog.resize(300, 200);
    EXPECT_EQ(corner(dialog), QColor(38, 38, 38));
    EXPECT_EQ(text->palette().color(QPalette::WindowText), QColor(Qt::white));
    button->setDefault(true);
    const QImage face = button->grab().toImage();
    EXPECT_EQ(face.pixelColor(12, face.height() / 2), QColor(171, 13, 13));
    EXPECT_GE(button->height(), 30);
    EXPECT_GE(button->width(), 96);
}

TEST_P(PanelLookOn, MenusHaveTheSettingsBackgroundAndARedBar) {
    QMenu menu;
    QAction* entry = menu.addAction(QStringLiteral("Quit"));
    applyPanelLook(menu);
    menu.popup(QPoint(0, 0));
    EXPECT_EQ(corner(menu), QColor(49, 49, 49));
    menu.setActiveAction(entry);
    const QPoint inside = menu.actionGeometry(entry).topLeft() + QPoint(3, 3);
    EXPECT_EQ(menu.grab().toImage().pixelColor(inside), QColor(171, 13, 13));
    menu.close();
}

TEST_P(PanelLookOn, ToolTipsAreLightOnDark) {
    applyToolTipLook();
    EXPECT_EQ(QToolTip::palette().color(QPalette::ToolTipBase), QColor(29, 29, 29));
    EXPECT_EQ(QToolTip::palette().color(QPalette::ToolTipText), QColor(Qt::white));
}

INSTANTIATE_TEST_SUITE_P(Desktops, PanelLookOn, testing::Bool(),
                         [](const auto& desktop) { return desktop.param ? "dark" : "light"; });

} // namespace
} // namespace tavelo
