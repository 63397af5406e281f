// SPDX-License-Identifier: MIT
#include "widgets/panel_look.h"

#include <QPalette>
#include <QToolTip>
#include <array>
#include <utility>

#include "widgets/palette.h"

namespace tavelo {
namespace {

// "@name" is replaced by a colour of the palette.
constexpr const char* styleSheet = R"(
QDialog, QMessageBox { background: @panel; color: white; border: 1px solid @disabled; }
QLabel:disabled { color: @outline; }
QLabel { color: white; background: transparent; font-family: Arial; font-size: 14px; }
QMessageBox QLabel#qt_msgbox_label {
    min-width: 220px; min-height: 40px; font-size: 16px; qproperty-alignment: AlignVCenter;
}
QPushButton {
    min-width: 96px; min-height: 30px; padding: 0 18px; border: 1px solid @outline; border-radius: 6px;
    background: @track; color: white; font-family: Arial; font-size: 14px; outline: none;
}
QPushButton:hover { background: @selected; }
QPushButton:default { background: @accent; border-color: @accent; }
QPushButton:focus { border: 2px solid @focus; }
QPushButton:pressed { background: @button; }
QMenu {
    background: @setting; color: white; border: 1px solid @disabled; padding: 6px 0;
    font-family: Arial; font-size: 14px;
}
QMenu::item { padding: 7px 28px 7px 34px; background: transparent; color: white; }
QMenu::item:selected { background: @accent; color: white; }
QMenu::item:disabled { color: @outline; }
QMenu::separator { height: 1px; background: @disabled; margin: 6px 0; }
QMenu::indicator { width: 14px; height: 14px; left: 12px; }
QMenu::indicator:checked { image: url(:/images/check.svg); }
QMenu::right-arrow { image: url(:/images/submenu.svg); width: 12px; height: 12px; right: 10px; }
QScrollArea { background: @panel; border: none; }
QComboBox, QAbstractSpinBox {
    min-height: 26px; padding: 0 8px; border: 1px solid @outline; border-radius: 6px; background: @track;
    color: white; font-family: Arial; font-size: 14px; selection-background-color: @accent;
    selection-color: white;
}
QComboBox:focus, QAbstractSpinBox:focus { border: 2px solid @focus; padding: 0 7px; }
QComboBox:disabled, QAbstractSpinBox:disabled { color: @outline; border-color: @disabled; }
QComboBox::drop-down, QAbstractSpinBox::up-button, QAbstractSpinBox::down-button {
    border: none; background: transparent; width: 18px;
}
QComboBox::down-arrow, QAbstractSpinBox::down-arrow {
    image: url(:/images/menu_arrow.svg); width: 10px; height: 10px;
}
QAbstractSpinBox::up-arrow { image: url(:/images/menu_arrow_up.svg); width: 10px; height: 10px; }
QComboBox QAbstractItemView {
    background: @setting; color: white; border: 1px solid @disabled; font-family: Arial; font-size: 14px;
    selection-background-color: @accent; selection-color: white; outline: none;
}
QTableView {
    background: @setting; alternate-background-color: @button; color: white; border: 1px solid @disabled;
    font-family: Arial; font-size: 14px; selection-background-color: @accent; selection-color: white;
}
QTableView:focus { border: 1px solid @focus; }
QTableView::item { padding: 4px 10px; border: none; }
QHeaderView { background: @track; }
QHeaderView::section {
    background: @track; color: @outline; border: none; padding: 6px 10px; font-family: Arial; font-size: 14px;
}
QScrollBar { background: @track; border: none; width: 12px; height: 12px; margin: 0; }
QScrollBar::handle { background: @disabled; border-radius: 4px; min-height: 24px; min-width: 24px; margin: 2px; }
QScrollBar::handle:hover { background: @outline; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
)";

QString panelStyleSheet() {
    const std::array<std::pair<const char*, QColor>, 8> colors{
        {{"@panel", palette::panelGrey},
         {"@setting", palette::settingGrey},
         {"@outline", palette::outlineGrey},
         {"@track", palette::trackGrey},
         {"@accent", palette::accentRed},
         {"@disabled", palette::disabledTextGrey},
         {"@selected", palette::cameraButtonSelectedGrey},
         {"@button", palette::cameraButtonGrey}}};
    QString sheet = QString::fromLatin1(styleSheet);
    for (const auto& [name, color] : colors)
        sheet.replace(QLatin1String(name), color.name());
    return sheet.replace(QStringLiteral("@focus"), QColor(palette::focusRing.rgb()).name());
}

// For everything that the style sheet does not set.
QPalette panelPalette() {
    QPalette colors;
    colors.setColor(QPalette::Window, palette::panelGrey);
    colors.setColor(QPalette::Base, palette::settingGrey);
    colors.setColor(QPalette::AlternateBase, palette::cameraButtonGrey);
    colors.setColor(QPalette::Button, palette::trackGrey);
    colors.setColor(QPalette::ToolTipBase, palette::trackGrey);
    colors.setColor(QPalette::Highlight, palette::accentRed);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                                           QPalette::ToolTipText, QPalette::HighlightedText})
        colors.setColor(role, Qt::white);
    return colors;
}

} // namespace

void applyPanelLook(QWidget& window) {
    window.setPalette(panelPalette());
    window.setStyleSheet(panelStyleSheet());
}

void applyToolTipLook() {
    QToolTip::setPalette(panelPalette());
}

} // namespace tavelo
