// SPDX-License-Identifier: MIT
#include "widgets/image.h"

#include <utility>

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace tavelo {

Image::Image(QImage pixels) : pixels_(std::move(pixels)) {}

Image Image::fromFile(const QString& path) {
    if (!path.endsWith(QStringLiteral(".svg"))) return Image(QImage(path));
    Image image;
    if (!QFile::exists(path)) return image; // QSvgRenderer would print a warning
    auto vectors = std::make_shared<QSvgRenderer>(path);
    if (vectors->isValid()) image.vectors_ = std::move(vectors);
    return image;
}

QSizeF Image::size() const {
    return vectors_ != nullptr ? QSizeF(vectors_->defaultSize()) : pixels_.deviceIndependentSize();
}

QPixmap Image::pixmap(double devicePixelRatio) const {
    QPixmap pixels((size() * devicePixelRatio).toSize());
    pixels.setDevicePixelRatio(devicePixelRatio);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    draw(painter, QRectF(QPointF(), size()));
    return pixels;
}

void Image::draw(QPainter& painter, const QRectF& rect, double opacity) const {
    if (opacity < 1) {
        drawDimmed(painter, rect, opacity);
        return;
    }
    painter.save();
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (vectors_ != nullptr) {
        vectors_->render(&painter, rect);
    } else if (!pixels_.isNull()) {
        painter.drawImage(rect, pixels_);
    }
    painter.restore();
}

void Image::drawDimmed(QPainter& painter, const QRectF& rect, double opacity) const {
    const double ratio = painter.deviceTransform().m11(); // device pixels per unit
    QImage whole((rect.size() * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    whole.setDevicePixelRatio(ratio);
    whole.fill(Qt::transparent);
    {
        QPainter inner(&whole);
        draw(inner, QRectF(QPointF(), rect.size()));
    }
    painter.save();
    painter.setOpacity(painter.opacity() * opacity);
    painter.drawImage(rect.topLeft(), whole);
    painter.restore();
}

} // namespace tavelo
