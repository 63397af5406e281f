// SPDX-License-Identifier: MIT
#include "widgets/kt_camera_button.h"

#include <QPainter>

#include "widgets/drawing.h"
#include "widgets/palette.h"

namespace tavelo {
namespace {

constexpr double cornerRadius = 10;

// The quarter with the square corner.
QRectF lowerLeftQuarter(const QRectF& rect) {
    return {rect.left(), rect.top() + rect.height() / 2, rect.width() / 2, rect.height() / 2};
}

} // namespace

KTCameraButton::KTCameraButton(QWidget* parent) : PanelButton(parent) {}

KTCameraButton::KTCameraButton(const QRect& frame, QWidget* parent) : KTCameraButton(parent) {
    setGeometry(frame);
}

void KTCameraButton::setSelected(bool selected) {
    selected_ = selected;
    stateChanged();
}

void KTCameraButton::drawRect(QPainter& painter, const QRectF& rect) {
    const QRectF bounds = drawing::snapped(painter, rect);
    const QColor face =
        isEnabled() && selected_ ? palette::cameraButtonSelectedGrey : palette::cameraButtonGrey;
    painter.fillRect(drawing::snapped(painter, lowerLeftQuarter(bounds)), face);
    drawing::drawRounded(painter, bounds, cornerRadius, borderColor_.value_or(face), face);

    const QColor color = isEnabled() ? QColor(Qt::white) : palette::disabledTextGrey;
    drawing::drawCentredText(painter, rect, text(), {font(), color, titleShadow()});
}

QPainterPath KTCameraButton::focusPath(double distance) const {
    const QRectF around = bounds().adjusted(-distance, -distance, distance, distance);
    QPainterPath corner;
    corner.addRoundedRect(lowerLeftQuarter(around), distance, distance);
    return drawing::roundedRect(around, cornerRadius + distance).united(corner);
}

} // namespace tavelo
