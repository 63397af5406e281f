// SPDX-License-Identifier: MIT
#include "widgets/image_view.h"

#include <utility>

#include <QPainter>

#include "widgets/accessibility.h"

namespace tavelo {

ImageView::ImageView(Image image, QWidget* parent)
    : QWidget(parent),
      PanelElement(*static_cast<QWidget*>(this)),
      image_(std::move(image)) {
    installWidgetAccessibility();
    // Lets the user drag the window by the image too.
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void ImageView::drawRect(QPainter& painter, const QRectF& rect) {
    image_.draw(painter, rect);
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawInUnits(painter);
    drawRect(painter, bounds());
}

} // namespace tavelo
