// SPDX-License-Identifier: MIT
// Draws controls into images and examines the pixels.
#pragma once

#include <cstdlib>
#include <ostream>

#include <QColor>
#include <QImage>
#include <QPainter>

namespace tavelo {

/// Draws a control on a transparent image with this device pixel ratio.
template <typename Widget>
QImage drawn(Widget& widget, const QSize& size, double ratio = 1) {
    QImage image((QSizeF(size) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    widget.drawRect(painter, QRectF(QPointF(), QSizeF(size)));
    return image;
}

/// True if the colours are equal apart from antialiasing on curves.
inline bool similar(const QColor& a, const QColor& b, int tolerance = 8) {
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance && std::abs(a.alpha() - b.alpha()) <= tolerance;
}

/// True if any pixel has this colour.
inline bool contains(const QImage& image, const QColor& color, int tolerance = 0) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (similar(image.pixelColor(x, y), color, tolerance)) return true;
        }
    }
    return false;
}

/// The bounding rectangle of all pixels that are not transparent.
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
