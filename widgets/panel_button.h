// SPDX-License-Identifier: MIT
// Base of the panel's buttons: keyboard, focus ring, painting.
#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QPainterPath>

#include "widgets/panel_element.h"

class QPainter;

namespace tavelo {

/// A button that draws itself completely.  Its title is text().  The mouse, the space bar, Enter and screen
/// readers send clicked().  A click does not change the button's state: the owner sets it.  Thread-bound to
/// the main thread.
class PanelButton : public QAbstractButton, public PanelElement {
    Q_OBJECT

public:
    /// Draws the button into `rect`, in units with y downward.
    virtual void drawRect(QPainter& painter, const QRectF& rect) = 0;

    /// The role reported to screen readers.
    virtual QAccessible::Role accessibleRole() const { return QAccessible::PushButton; }
    /// Whether screen readers report isOnState().
    virtual bool hasOnState() const { return false; }
    virtual bool isOnState() const { return false; }

protected:
    explicit PanelButton(QWidget* parent);

    /// The outline that the focus ring follows, `distance` units outside the button's shape.
    virtual QPainterPath focusPath(double distance) const;

    /// Redraws, and notifies screen readers that the state may have changed.
    void stateChanged();

    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace tavelo
