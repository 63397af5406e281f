// SPDX-License-Identifier: MIT
#include "widgets/kt_profile_button.h"

#include <QPainter>

#include "widgets/drawing.h"
#include "widgets/palette.h"

namespace tavelo {

KTProfileButton::KTProfileButton(QWidget* parent) : PanelButton(parent) {}

void KTProfileButton::setState(int state) {
    state_ = state;
    stateChanged();
}

void KTProfileButton::setImage(const Image& image) {
    image_ = image;
    update();
}

void KTProfileButton::setAlternateImage(const Image& image) {
    alternateImage_ = image;
    update();
}

void KTProfileButton::drawRect(QPainter& painter, const QRectF& rect) {
    const Image& image = state_ == 1 && !alternateImage_.isNull() ? alternateImage_ : image_;
    QRectF place = rect;
    if (imageContentMode_ != 0) {
        place = QRectF(QPointF(), image.size());
        place.moveCenter(rect.center());
    }
    image.draw(painter, drawing::snapped(painter, place), isEnabled() ? 1 : drawing::disabledOpacity);

    const QColor enabled = textColor_.isValid() ? textColor_ : QColor(Qt::black);
    const QColor color = isEnabled() ? enabled : palette::disabledTextGrey;
    drawing::drawCentredText(painter, rect, text(), {font(), color, std::nullopt});
}

QPainterPath KTProfileButton::focusPath(double distance) const {
    // A centred image is a symbol smaller than the button.
    if (imageContentMode_ == 0) return PanelButton::focusPath(distance);
    const QRectF around = bounds().adjusted(-distance, -distance, distance, distance);
    return drawing::roundedRect(around, around.height() / 2);
}

} // namespace tavelo
