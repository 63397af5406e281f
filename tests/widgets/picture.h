// SPDX-License-Identifier: MIT
// Draws a control into an image and asks for its pixels.
#pragma once

#include <cstdlib>
#include <ostream>

#include <QColor>
#include <QImage>
#include <QPainter>

namespace tavelo {

/// What a control draws on nothing (transparent), at a device pixel ratio.
template <typename Widget>
QImage drawn(Widget& widget, const QSize& size, double ratio = 1) {
    QImage image((QSizeF(size) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    widget.drawRect(painter, QRectF(QPointF(), QSizeF(size)));
    return image;
}

/// Whether two colours differ by no more than what is left of antialiasing on a curve.
inline bool similar(const QColor& a, const QColor& b, int tolerance = 8) {
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance && std::abs(a.alpha() - b.alpha()) <= tolerance;
}

/// Whether any pixel has this colour.
inline bool contains(const QImage& image, const QColor& color, int tolerance = 0) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (similar(image.pixelColor(x, y), color, tolerance)) return true;
        }
    }
    return false;
}

/// The smallest rectangle that holds every pixel that is not transparent.
inline QRect inkBounds(const QImage& image) {
    QRect bounds;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() > 0) bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

} // namespace tavelo

inline std::ostream& operator<<(std::ostream& stream, const QColor& color) {
    return stream << color.name(QColor::HexArgb).toStdString();
}
