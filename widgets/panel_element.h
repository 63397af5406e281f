// SPDX-License-Identifier: MIT
// A widget's place in the panel, whose units may be smaller than Qt's points.
#pragma once

#include <QRectF>
#include <QTransform>
#include <optional>

class QPainter;
class QWidget;

namespace tavelo {

/// What every widget of the panel has in common: it is placed and drawn in the panel's units.  A unit is a
/// point, or less if the panel is scaled down to fit a small screen; fonts and shapes are then drawn at the
/// target size. A widget that was never placed draws in points.  Thread-bound to the main thread.
class PanelElement {
public:
    virtual ~PanelElement() = default;

    /// Moves the widget to a frame of the panel.
    /// @param frame in units, y downward from the panel's upper edge
    /// @param scale points a unit, above 0
    void place(const QRectF& frame, double scale);

    /// The widget's rectangle in units, its own upper left corner the origin.
    QRectF bounds() const;

    /// From units to the widget's own coordinates, which are points.
    QTransform toWidget() const;

    double scale() const { return scale_; }

protected:
    explicit PanelElement(QWidget& self) : self_(self) {}

    /// Lets the painter of the widget draw in units.
    void drawInUnits(QPainter& painter) const;

private:
    QWidget& self_;
    std::optional<QRectF> frame_;
    double scale_ = 1;
};

/// The place of a frame of the panel in whole points, its edges rounded each on its own: neighbours stay
/// neighbours.
QRect scaledFrame(const QRectF& frame, double scale);

} // namespace tavelo
