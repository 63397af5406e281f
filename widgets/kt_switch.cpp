// SPDX-License-Identifier: MIT
#include "widgets/kt_switch.h"

#include <QPainter>

#include "widgets/drawing.h"
#include "widgets/palette.h"

namespace tavelo {

KTSwitch::KTSwitch(QWidget* parent) : PanelButton(parent) {}

void KTSwitch::setOn(bool on) {
    on_ = on;
    stateChanged();
}

void KTSwitch::drawRect(QPainter& painter, const QRectF& rect) {
    const QRectF track = drawing::snapped(painter, rect);
    drawing::drawRounded(painter, track, track.height() / 2, palette::outlineGrey, palette::trackGrey);
    drawing::drawKnob(painter, track, on_ ? track.width() - track.height() : 0);
}

QPainterPath KTSwitch::focusPath(double distance) const {
    const QRectF around = bounds().adjusted(-distance, -distance, distance, distance);
    return drawing::roundedRect(around, around.height() / 2);
}

void KTSwitch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!isEnabled()) painter.setOpacity(drawing::disabledOpacity);
    drawInUnits(painter);
    drawRect(painter, bounds());
}

} // namespace tavelo
