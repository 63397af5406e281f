// SPDX-License-Identifier: MIT
// Placing and drawing in the panel's units, which may be smaller than Qt's points.
#pragma once

#include <QRectF>
#include <QTransform>
#include <optional>

class QPainter;
class QWidget;

namespace tavelo {

/// Base of the panel's widgets, which are placed and drawn in the panel's units.  A unit is a point, or less
/// if the panel is scaled down to fit a small screen; fonts and shapes are then drawn at the target size.  A
/// widget that was never placed draws in points.  Thread-bound to the main thread.
class PanelElement {
public:
    virtual ~PanelElement() = default;

    /// Moves the widget to a frame of the panel.
    /// @param frame in units, y downward from the panel's upper edge
    /// @param scale points per unit, above 0
    void place(const QRectF& frame, double scale);

    /// The widget's rectangle in units, with the origin at its upper left corner.
    QRectF bounds() const;

    /// Maps units to the widget's own coordinates, which are points.
    QTransform toWidget() const;

    double scale() const { return scale_; }

protected:
    explicit PanelElement(QWidget& self) : self_(self) {}

    /// Sets the painter up to draw in units.
    void drawInUnits(QPainter& painter) const;

private:
    QWidget& self_;
    std::optional<QRectF> frame_;
    double scale_ = 1;
};

/// Converts a frame to whole points.  Rounds each edge separately, so that adjacent frames stay adjacent.
QRect scaledFrame(const QRectF& frame, double scale);

} // namespace tavelo
