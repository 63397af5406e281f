// SPDX-License-Identifier: MIT
// A two-position switch.
#pragma once

#include "widgets/panel_button.h"

namespace tavelo {

/// A pill with a knob at its left end when off, at its right end when on.  A click does not move the knob:
/// the owner's action sets `on`.
class KTSwitch : public PanelButton {
    Q_OBJECT

public:
    explicit KTSwitch(QWidget* parent = nullptr);

    bool on() const { return on_; }
    void setOn(bool on);

    void drawRect(QPainter& painter, const QRectF& rect) override;

    QSize sizeHint() const override { return {40, 18}; }
    QAccessible::Role accessibleRole() const override { return QAccessible::CheckBox; }
    bool hasOnState() const override { return true; }
    bool isOnState() const override { return on_; }

protected:
    QPainterPath focusPath(double distance) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool on_ = false;
};

} // namespace tavelo
