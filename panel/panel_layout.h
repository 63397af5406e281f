// SPDX-License-Identifier: MIT
// Where every element of the panel stands.
#pragma once

#include <QRectF>
#include <QSizeF>
#include <array>
#include <cstddef>

namespace tavelo {

/// The slider rows, the lowest first.
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
inline constexpr std::size_t panelRowCount = 8;
inline constexpr std::size_t profileCount = 4;

/// What the layout cannot know: the view's size and how large texts and artwork come out, in units.
struct PanelMeasures {
    QSizeF view;
    QSizeF title;
    QSizeF mirrorTitle;
    QSizeF logo;
};

/// Frames in units, the origin at the lower left of the view, y upward: `y()` is an element's lower edge.
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

/// The panel's own size, for which its frames are made, in units.
inline constexpr QSizeF panelSize(1111, 660);

/// Points a unit, so that the whole panel fits into that many points: 1, or less on a small screen.
double scaleToFit(const QSizeF& available);

/// Reentrant.
PanelLayout layoutPanel(const PanelMeasures& measures);

/// A frame of the layout in Qt's coordinates, y downward from the upper edge of the view.
constexpr QRectF flipped(const QRectF& frame, qreal viewHeight) {
    return {frame.x(), viewHeight - frame.y() - frame.height(), frame.width(), frame.height()};
}

} // namespace tavelo
