// SPDX-License-Identifier: MIT
#include "widgets/panel_element.h"

#include <QPainter>
#include <QWidget>

namespace tavelo {

void PanelElement::place(const QRectF& frame, double scale) {
    frame_ = frame;
    scale_ = scale;
    // Rounded outward, so that nothing is cut off.
    self_.setGeometry(QTransform::fromScale(scale, scale).mapRect(frame).toAlignedRect());
    self_.update();
}

QRectF PanelElement::bounds() const {
    return {QPointF(), frame_ ? frame_->size() : QSizeF(self_.size())};
}

QTransform PanelElement::toWidget() const {
    const QPointF offset = frame_ ? frame_->topLeft() * scale_ - self_.pos() : QPointF();
    return QTransform::fromTranslate(offset.x(), offset.y()).scale(scale_, scale_);
}

void PanelElement::drawInUnits(QPainter& painter) const {
    painter.setTransform(toWidget());
}

QRect scaledFrame(const QRectF& frame, double scale) {
    const QPoint upperLeft(qRound(frame.left() * scale), qRound(frame.top() * scale));
    const QPoint lowerRight(qRound(frame.right() * scale), qRound(frame.bottom() * scale));
    return {upperLeft, QSize(lowerRight.x() - upperLeft.x(), lowerRight.y() - upperLeft.y())};
}

} // namespace tavelo
