// SPDX-License-Identifier: MIT
// What the controls' drawing has in common.
#pragma once

#include <optional>

#include <QFont>
#include <QPainterPath>
#include <QRectF>
#include <QString>

#include "widgets/text_shadow.h"

class QPainter;

namespace tavelo::drawing {

/// `rect` with its edges moved to the nearest whole device pixels, so that straight edges stay sharp at any
/// device pixel ratio.  Unchanged where the painter rotates or shears.
QRectF snapped(const QPainter& painter, const QRectF& rect);

QPainterPath roundedRect(const QRectF& rect, double radius);

/// Fills a rounded rectangle and outlines it within its bounds: of a line one point wide along the edge, the
/// inner half shows.  A radius of half the height makes a pill, or a circle.
void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& stroke,
                 const QColor& fill);

/// How much of a disabled slider, switch or check button shows.
inline constexpr double disabledOpacity = 0.4;

/// The knob of a slider or switch: a disc as high as `track` with its left end at `x` (in points from the
/// track's left end).
void drawKnob(QPainter& painter, const QRectF& track, double x);

struct TextLook {
    QFont font;
    QColor color;
    std::optional<TextShadow> shadow;
};

/// Draws a text in the middle of `rect`, wrapped into lines no wider than it.
/// @param raise points by which it stands above the exact centre
void drawCentredText(QPainter& painter, const QRectF& rect, const QString& text, const TextLook& look,
                     double raise = 0);

} // namespace tavelo::drawing
