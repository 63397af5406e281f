// SPDX-License-Identifier: MIT
// A picture of the panel's artwork: vectors or pixels.
#pragma once

#include <memory>

#include <QImage>
#include <QPixmap>
#include <QSizeF>
#include <QString>

class QPainter;
class QSvgRenderer;

namespace tavelo {

/// An image that is drawn at the resolution of where it is drawn to, cheap to copy.
/// Thread-bound to the main thread.
class Image {
public:
    /// The absent image: no size, draws nothing.
    Image() = default;
    explicit Image(QImage pixels);

    /// An SVG or any format that Qt reads; the absent image where the file cannot be read.
    static Image fromFile(const QString& path);

    bool isNull() const { return vectors_ == nullptr && pixels_.isNull(); }

    /// The natural size in points.
    QSizeF size() const;

    /// The image at its natural size, in the pixels of a screen with that many to a point.
    QPixmap pixmap(double devicePixelRatio) const;

    /// Stretches the image to `rect`.
    /// @param opacity 0 to 1, of the image as a whole: its lower layers do not show through the upper ones
    void draw(QPainter& painter, const QRectF& rect, double opacity = 1) const;

private:
    void drawDimmed(QPainter& painter, const QRectF& rect, double opacity) const;

    std::shared_ptr<QSvgRenderer> vectors_;
    QImage pixels_;
};

} // namespace tavelo
