// SPDX-License-Identifier: MIT
#include "panel/panel_layout.h"

#include <algorithm>

namespace tavelo {
namespace {

// With y upward, QRectF's bottom() is the upper edge.  These two avoid the confusion.
constexpr qreal lowerEdge(const QRectF& frame) {
    return frame.y();
}
constexpr qreal upperEdge(const QRectF& frame) {
    return frame.y() + frame.height();
}
constexpr qreal rightEdge(const QRectF& frame) {
    return frame.x() + frame.width();
}

constexpr qreal firstRowY = 100;
constexpr qreal rowStep = 54;
constexpr qreal profileStep = 139;
constexpr QSizeF profileSize(119, 32);

void layoutMirrorRow(PanelLayout& layout, const QSizeF& title) {
    const qreal row = lowerEdge(layout.settingBackgroundView) + 20;
    const qreal w = title.width();
    const qreal h = title.height();
    const qreal switchY = (h - 18) / 2 + row - 1;
    layout.mirrorTitleText = {60, row, w, h};
    layout.mirrorSwitch = {w + 64, switchY, 40, 18};
    layout.hz50Text = {layout.mirrorSwitch.x() + 62, row, 56, h};
    layout.hz50Button = {layout.hz50Text.x() + 60, switchY, 18, 18};
    layout.hz60Text = {layout.hz50Button.x() + 36, row, 56, h};
    layout.hz60Button = {layout.hz60Text.x() + 60, switchY, 18, 18};
}

void layoutSliderRows(PanelLayout& layout) {
    qreal y = firstRowY;
    for (PanelLayout::Row& row : layout.rows) {
        row.slider = {60, y, 360, 16};
        row.valueText = {430, y, 46, 16};
        row.titleText = {60, y + 16, 360, 28};
        y += rowStep;
    }
}

void layoutHead(PanelLayout& layout, const PanelMeasures& measures) {
    const qreal panelTop = upperEdge(layout.settingBackgroundView);
    layout.camera1Button = {30, panelTop, 100, 36};
    layout.camera2Button = {138, panelTop, 100, 36};

    const QSizeF& title = measures.title;
    const qreal titleY = measures.view.height() - title.height() - 30;
    layout.appTitleText = {30, titleY, title.width(), title.height()};
    layout.appVersionText = {30 + title.width() + 4, titleY - 6, 40, title.height()};

    layout.closeButton = {measures.view.width() - 60, measures.view.height() - 60, 30, 30};
    layout.minButton = {measures.view.width() - 100, measures.view.height() - 60, 30, 30};
}

void layoutPreviewColumn(PanelLayout& layout, const QSizeF& logo) {
    const qreal x = rightEdge(layout.settingBackgroundView) + 30;
    layout.saveProfileButton = {x, 40, 119, 32};
    layout.restoreProfileButton = {x + profileStep, 40, 180, 32};

    const qreal profileY = upperEdge(layout.settingBackgroundView) - 16;
    for (std::size_t i = 0; i < profileCount; ++i)
        layout.profileButtons[i] = {QPointF(x + static_cast<qreal>(i) * profileStep, profileY), profileSize};
    const qreal right = rightEdge(layout.profileButtons.back());

    const qreal displayY = upperEdge(layout.saveProfileButton) + 16;
    layout.display = {x, displayY, right - x, profileY - 8 - displayY};

    const qreal saveMiddle = lowerEdge(layout.saveProfileButton) + layout.saveProfileButton.height() / 2;
    layout.logo = {right - logo.width(), saveMiddle - logo.height() / 2, logo.width(), logo.height()};
}

} // namespace

double scaleToFit(const QSizeF& available) {
    if (available.isEmpty()) return 1; // no screen
    return std::min({1.0, available.width() / panelSize.width(), available.height() / panelSize.height()});
}

PanelLayout layoutPanel(const PanelMeasures& measures) {
    PanelLayout layout;
    layout.settingBackgroundView = {30, 30, 485, 506};
    layout.settingBackgroundView_leftTop = {30, upperEdge(layout.settingBackgroundView) - 253, 242.5, 253};
    layoutMirrorRow(layout, measures.mirrorTitle);
    layoutSliderRows(layout);
    layoutHead(layout, measures);
    layoutPreviewColumn(layout, measures.logo);
    return layout;
}

} // namespace tavelo
