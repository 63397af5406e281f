// SPDX-License-Identifier: MIT
// Drawing functions shared by the controls.
#pragma once

#include <optional>

#include <QFont>
#include <QPainterPath>
#include <QRectF>
#include <QString>

#include "widgets/text_shadow.h"

class QPainter;

namespace tavelo::drawing {

/// Moves the edges of `rect` to the nearest whole device pixels, so that straight edges are sharp at any
/// device pixel ratio.  Returns it unchanged if the painter rotates or shears.
QRectF snapped(const QPainter& painter, const QRectF& rect);

QPainterPath roundedRect(const QRectF& rect, double radius);

/// Fills a rounded rectangle and outlines it within its bounds: the outline is the inner half of a line one
/// point wide along the edge.  A radius of half the height makes a pill or a circle.
void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& stroke,
                 const QColor& fill);

/// Of a disabled slider, switch or check button.
inline constexpr double disabledOpacity = 0.4;

/// Draws the knob of a slider or switch: a disc as high as `track`, with its left end `x` points from the
/// track's left end.
void drawKnob(QPainter& painter, const QRectF& track, double x);

struct TextLook {
    QFont font;
    QColor color;
    std::optional<TextShadow> shadow;
};

/// Draws a text in the middle of `rect`, wrapped into lines no wider than it.
/// @param raise distance above the exact centre, in points
void drawCentredText(QPainter& painter, const QRectF& rect, const QString& text, const TextLook& look,
                     double raise = 0);

} // namespace tavelo::drawing
