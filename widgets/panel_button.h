// SPDX-License-Identifier: MIT
// What the panel's buttons have in common: keyboard, focus ring, painting.
#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QPainterPath>

#include "widgets/panel_element.h"

class QPainter;

namespace tavelo {

/// A button that draws itself whole.  Its title is text(); clicked() tells of a press with the mouse, the
/// space bar, Enter or a screen reader.  A click changes no state of its own: the owner sets it. Thread-bound
/// to the main thread.
class PanelButton : public QAbstractButton, public PanelElement {
    Q_OBJECT

public:
    /// Draws the button into `rect`, in units with y downward.
    virtual void drawRect(QPainter& painter, const QRectF& rect) = 0;

    /// What a screen reader calls it.
    virtual QAccessible::Role accessibleRole() const { return QAccessible::PushButton; }
    /// Whether a screen reader tells of it being on or off.
    virtual bool hasOnState() const { return false; }
    virtual bool isOnState() const { return false; }

protected:
    explicit PanelButton(QWidget* parent);

    /// The outline that the focus ring follows, `distance` units outside of the button's shape.
    virtual QPainterPath focusPath(double distance) const;

    /// Redraws, and tells screen readers that the state may be another.
    void stateChanged();

    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace tavelo
