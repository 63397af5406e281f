// SPDX-License-Identifier: MIT
#include "widgets/kt_check_button.h"

#include <QPainter>

#include "widgets/drawing.h"
#include "widgets/palette.h"

namespace tavelo {

KTCheckButton::KTCheckButton(QWidget* parent) : PanelButton(parent) {}

void KTCheckButton::setCheck(bool check) {
    check_ = check;
    stateChanged();
}

void KTCheckButton::drawRect(QPainter& painter, const QRectF& rect) {
    const double diameter = rect.height() - 1;
    const QRectF disc(rect.left() + 0.5, rect.top() + 0.5, diameter, diameter);
    drawing::drawRounded(painter, disc, diameter / 2, palette::outlineGrey,
                         check_ ? palette::accentRed : palette::trackGrey);
}

QPainterPath KTCheckButton::focusPath(double distance) const {
    QPainterPath path;
    path.addEllipse(QRectF(0, 0, bounds().height(), bounds().height())
                        .adjusted(-distance, -distance, distance, distance));
    return path;
}

void KTCheckButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!isEnabled()) painter.setOpacity(drawing::disabledOpacity);
    drawInUnits(painter);
    drawRect(painter, bounds());
}

} // namespace tavelo
