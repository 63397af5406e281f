// SPDX-License-Identifier: MIT
// Computes the position of every element of the panel.
#pragma once

#include <QRectF>
#include <QSizeF>
#include <array>
#include <cstddef>

namespace tavelo {

/// The slider rows, from bottom to top.
enum class PanelRow : std::size_t {
    panLeftRight,
    panUpDown,
    zoom,
    sharpness,
    whiteBalance,
    saturation,
    contrast,
    brightness,
};
inline constexpr std::size_t panelRowCount = static_cast<std::size_t>(PanelRow::brightness) + 1;
inline constexpr std::size_t profileCount = 4;

/// Sizes that the layout depends on, in units: the view, and the rendered texts and artwork.
struct PanelMeasures {
    QSizeF view;
    QSizeF title;
    QSizeF mirrorTitle;
    QSizeF logo;
};

/// Frames in units, with the origin at the lower left of the view and y upward: `y()` is the lower edge.
struct PanelLayout {
    struct Row {
        QRectF slider;
        QRectF valueText;
        QRectF titleText;
    };

    QRectF settingBackgroundView;
    QRectF settingBackgroundView_leftTop;

    QRectF mirrorTitleText;
    QRectF mirrorSwitch;
    QRectF hz50Text;
    QRectF hz50Button;
    QRectF hz60Text;
    QRectF hz60Button;
    std::array<Row, panelRowCount> rows;

    QRectF camera1Button;
    QRectF camera2Button;
    QRectF appTitleText;
    QRectF appVersionText;

    std::array<QRectF, profileCount> profileButtons;
    QRectF display;
    QRectF saveProfileButton;
    QRectF restoreProfileButton;
    QRectF logo;

    QRectF minButton;
    QRectF closeButton;
};

/// The size that the panel is designed for, in units.
inline constexpr QSizeF panelSize(1111, 660);

/// The scale, in points per unit, at which the whole panel fits into `available` points.  At most 1.
double scaleToFit(const QSizeF& available);

/// Reentrant.
PanelLayout layoutPanel(const PanelMeasures& measures);

/// Converts a frame to Qt's coordinates, with y downward from the upper edge of the view.
constexpr QRectF flipped(const QRectF& frame, qreal viewHeight) {
    return {frame.x(), viewHeight - frame.y() - frame.height(), frame.width(), frame.height()};
}

} // namespace tavelo
