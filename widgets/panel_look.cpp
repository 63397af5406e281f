// SPDX-License-Identifier: MIT
#include "widgets/panel_look.h"

#include <QApplication>
#include <QFontInfo>
#include <QPalette>
#include <QToolTip>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "widgets/palette.h"

namespace tavelo {
namespace {

// Desktops have text of 13 to 15 pixels unless their user wants it larger.
constexpr double largestOrdinaryText = 15;
constexpr double largestScale = 2;

constexpr const char* styleSheet = R"(
QDialog, QMessageBox { background: @panel; color: white; border: 1px solid @line; }
QLabel:disabled { color: @quiet; }
QLabel { color: white; background: transparent; font-family: Arial; font-size: @text; }
QMessageBox QLabel#qt_msgbox_label {
    min-width: 220px; min-height: 40px; font-size: @large; qproperty-alignment: AlignVCenter;
}
QPushButton {
    min-width: 96px; min-height: @tall; padding: 0 18px; border: 1px solid @outline; border-radius: 6px;
    background: @track; color: white; font-family: Arial; font-size: @text; outline: none;
}
QPushButton:hover { background: @selected; }
QPushButton:default { background: @accent; border-color: @accent; }
QPushButton:focus { border: 2px solid @focus; }
QPushButton:pressed { background: @button; }
QMenu {
    background: @setting; color: white; border: 1px solid @line; padding: 6px 0;
    font-family: Arial; font-size: @text;
}
QMenu::item { padding: 7px 28px 7px 34px; background: transparent; color: white; }
QMenu::item:selected { background: @accent; color: white; }
QMenu::item:disabled { color: @quiet; }
QMenu::separator { height: 1px; background: @line; margin: 6px 0; }
QMenu::indicator { width: 14px; height: 14px; left: 12px; }
QMenu::indicator:checked { image: url(:/images/check.svg); }
QMenu::right-arrow { image: url(:/images/submenu.svg); width: 12px; height: 12px; right: 10px; }
QScrollArea { background: @panel; border: none; }
QComboBox, QAbstractSpinBox {
    min-height: 26px; padding: 0 8px; border: 1px solid @outline; border-radius: 6px; background: @track;
    color: white; font-family: Arial; font-size: @text; selection-background-color: @accent;
    selection-color: white;
}
QComboBox:focus, QAbstractSpinBox:focus { border: 2px solid @focus; padding: 0 7px; }
QComboBox:disabled, QAbstractSpinBox:disabled { color: @quiet; border-color: @line; }
QComboBox::drop-down, QAbstractSpinBox::up-button, QAbstractSpinBox::down-button {
    border: none; background: transparent; width: 18px;
}
QComboBox::down-arrow, QAbstractSpinBox::down-arrow {
    image: url(:/images/menu_arrow.svg); width: 10px; height: 10px;
}
QAbstractSpinBox::up-arrow { image: url(:/images/menu_arrow_up.svg); width: 10px; height: 10px; }
QComboBox QAbstractItemView {
    background: @setting; color: white; border: 1px solid @line; font-family: Arial; font-size: @text;
    selection-background-color: @accent; selection-color: white; outline: none;
}
QTableView {
    background: @setting; alternate-background-color: @button; color: white; border: 1px solid @line;
    font-family: Arial; font-size: @text; selection-background-color: @accent; selection-color: white;
}
QTableView:focus { border: 1px solid @focus; }
QTableView::item { padding: 4px 10px; border: none; }
QHeaderView { background: @track; }
QHeaderView::section {
    background: @track; color: @quiet; border: none; padding: 6px 10px; font-family: Arial; font-size: @text;
}
QScrollBar { background: @track; border: none; width: 12px; height: 12px; margin: 0; }
QScrollBar::handle { background: @outline; border-radius: 4px; min-height: 24px; min-width: 24px; margin: 2px; }
QScrollBar::handle:hover { background: white; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
)";

struct Colours {
    QColor panel = palette::panelGrey;
    QColor setting = palette::settingGrey;
    QColor outline = palette::outlineGrey;
    QColor line = palette::disabledTextGrey;
    QColor quiet = palette::outlineGrey;
    QColor track = palette::trackGrey;
    QColor selected = palette::cameraButtonSelectedGrey;
    QColor button = palette::cameraButtonGrey;
};

// What is to be told apart is white on black; the accent's white text has enough contrast as it is.
Colours highContrastColours() {
    Colours colours;
    for (QColor* back :
         {&colours.panel, &colours.setting, &colours.track, &colours.selected, &colours.button})
        *back = Qt::black;
    colours.outline = colours.line = Qt::white;
    colours.quiet = QColor(200, 200, 200);
    return colours;
}

Colours coloursOf(const QPalette& desktop) {
    return hasHighContrast(desktop) ? highContrastColours() : Colours();
}

// For everything that the style sheet does not set.
QPalette panelPalette() {
    const Colours colours = coloursOf(QApplication::palette());
    QPalette made;
    made.setColor(QPalette::Window, colours.panel);
    made.setColor(QPalette::Base, colours.setting);
    made.setColor(QPalette::AlternateBase, colours.button);
    made.setColor(QPalette::Button, colours.track);
    made.setColor(QPalette::ToolTipBase, colours.track);
    made.setColor(QPalette::Highlight, palette::accentRed);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                                           QPalette::ToolTipText, QPalette::HighlightedText})
        made.setColor(role, Qt::white);
    return made;
}

} // namespace

bool hasHighContrast(const QPalette& desktop) {
    const QColor back = desktop.color(QPalette::Active, QPalette::Window);
    const QColor text = desktop.color(QPalette::Active, QPalette::WindowText);
    return (back == Qt::black && text == Qt::white) || (back == Qt::white && text == Qt::black);
}

double textScale() {
    const double wanted = QFontInfo(QApplication::font()).pixelSize() / largestOrdinaryText;
    return std::clamp(wanted, 1.0, largestScale);
}

int scaled(int points) {
    return int(std::lround(points * textScale()));
}

QString panelStyle(QString sheet) {
    const Colours colours = coloursOf(QApplication::palette());
    const std::array<std::pair<const char*, QColor>, 10> values{
        {{"@panel", colours.panel},
         {"@setting", colours.setting},
         {"@outline", colours.outline},
         {"@line", colours.line},
         {"@quiet", colours.quiet},
         {"@track", colours.track},
         {"@accent", palette::accentRed},
         {"@selected", colours.selected},
         {"@button", colours.button},
         {"@focus", QColor(palette::focusRing.rgb())}}};
    for (const auto& [name, color] : values)
        sheet.replace(QLatin1String(name), color.name());
    constexpr std::array<std::pair<const char*, int>, 5> sizes{
        {{"@small", 12}, {"@text", 14}, {"@large", 16}, {"@title", 18}, {"@tall", 30}}};
    for (const auto& [name, size] : sizes)
        sheet.replace(QLatin1String(name), QStringLiteral("%1px").arg(scaled(size)));
    return sheet;
}

void applyPanelLook(QWidget& window, const QString& more) {
    const QString sheet = panelStyle(QString::fromLatin1(styleSheet) + more);
    if (window.styleSheet() == sheet) return;
    window.setPalette(panelPalette());
    window.setStyleSheet(sheet);
}

void applyToolTipLook() {
    QToolTip::setPalette(panelPalette());
}

} // namespace tavelo
