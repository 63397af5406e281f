// SPDX-License-Identifier: MIT
// A round check button.
#pragma once

#include "widgets/panel_button.h"

namespace tavelo {

/// A disc, red when checked.  A click does not change `check`: the owner sets it, once the camera has
/// accepted the value.  Draws no title.
class KTCheckButton : public PanelButton {
    Q_OBJECT

public:
    explicit KTCheckButton(QWidget* parent = nullptr);

    bool check() const { return check_; }
    void setCheck(bool check);

    void drawRect(QPainter& painter, const QRectF& rect) override;

    QSize sizeHint() const override { return {18, 18}; }
    QAccessible::Role accessibleRole() const override { return QAccessible::RadioButton; }
    bool hasOnState() const override { return true; }
    bool isOnState() const override { return check_; }

protected:
    QPainterPath focusPath(double distance) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool check_ = false;
};

} // namespace tavelo
