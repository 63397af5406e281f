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

class PanelLookOfTheUser : public testing::Test {
protected:
    ~PanelLookOfTheUser() override {
        QApplication::setPalette(QPalette());
        QApplication::setFont(font_);
    }

    const QFont font_ = QApplication::font();
};

TEST_F(PanelLookOfTheUser, IsWhiteOnBlackIfTheDesktopIsBlackAndWhite) {
    for (const auto& [back, text] : {std::pair(Qt::black, Qt::white), std::pair(Qt::white, Qt::black)}) {
        QPalette palette;
        palette.setColor(QPalette::Window, back);
        palette.setColor(QPalette::WindowText, text);
        QApplication::setPalette(palette);
        EXPECT_TRUE(hasHighContrast(QApplication::palette()));
        EXPECT_EQ(panelStyle(QStringLiteral("@panel @setting @track @button @selected")),
                  QStringLiteral("#000000 #000000 #000000 #000000 #000000"));
        EXPECT_EQ(panelStyle(QStringLiteral("@outline @line @quiet")),
                  QStringLiteral("#ffffff #ffffff #c8c8c8"));
    }
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    palette.setColor(QPalette::WindowText, QColor(1, 0, 0));
    EXPECT_FALSE(hasHighContrast(palette));
}

TEST_F(PanelLookOfTheUser, FollowsTheDesktopWhenItIsAppliedAgain) {
    QDialog dialog;
    applyPanelLook(dialog);
    const QString before = dialog.styleSheet();
    QApplication::setPalette(QPalette(Qt::white, Qt::black, Qt::white, Qt::white, Qt::white, Qt::white,
                                      Qt::white, Qt::black, Qt::black));
    applyPanelLook(dialog);
    EXPECT_EQ(dialog.palette().color(QPalette::Window), QColor(Qt::black));
    EXPECT_NE(dialog.styleSheet(), before);
    QApplication::setPalette(QPalette());
    applyPanelLook(dialog);
    EXPECT_EQ(dialog.styleSheet(), before);
    EXPECT_EQ(dialog.palette().color(QPalette::Window), QColor(38, 38, 38));
}

TEST_F(PanelLookOfTheUser, HasLargeTextIfTheDesktopsFontIsLarge) {
    const auto scaleWith = [](int pixels) {
        QFont font = QApplication::font();
        font.setPixelSize(pixels);
        QApplication::setFont(font);
        return textScale();
    };
    EXPECT_DOUBLE_EQ(scaleWith(8), 1);
    EXPECT_DOUBLE_EQ(scaleWith(15), 1);
    EXPECT_DOUBLE_EQ(scaleWith(60), 2);
    EXPECT_DOUBLE_EQ(scaleWith(24), 1.6);
    EXPECT_EQ(scaled(210), 336);
    EXPECT_EQ(panelStyle(QStringLiteral("@small @text @large @title")),
              QStringLiteral("19px 22px 26px 29px"));
}

INSTANTIATE_TEST_SUITE_P(Desktops, PanelLookOn, testing::Bool(),
                         [](const auto& desktop) { return desktop.param ? "dark" : "light"; });

} // namespace
} // namespace tavelo
