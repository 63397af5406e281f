// SPDX-License-Identifier: MIT
// An image of the panel's artwork, as vectors or pixels.
#pragma once

#include <memory>

#include <QImage>
#include <QPixmap>
#include <QSizeF>
#include <QString>

class QPainter;
class QSvgRenderer;

namespace tavelo {

/// An image that is drawn at the target's resolution.  Cheap to copy.  Thread-bound to the main thread.
class Image {
public:
    /// The null image: it has no size and draws nothing.
    Image() = default;
    explicit Image(QImage pixels);

    /// Reads SVG and any format that Qt reads.  The null image if the file cannot be read.
    static Image fromFile(const QString& path);

    bool isNull() const { return vectors_ == nullptr && pixels_.isNull(); }

    /// The natural size in points.
    QSizeF size() const;

    /// Renders the image at its natural size.
    /// @param devicePixelRatio pixels per point
    QPixmap pixmap(double devicePixelRatio) const;

    /// Stretches the image to `rect`.
    /// @param opacity 0 to 1, applied to the image as a whole: lower layers do not show through upper ones
    void draw(QPainter& painter, const QRectF& rect, double opacity = 1) const;

private:
    void drawDimmed(QPainter& painter, const QRectF& rect, double opacity) const;

    std::shared_ptr<QSvgRenderer> vectors_;
    QImage pixels_;
};

} // namespace tavelo
