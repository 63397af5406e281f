// SPDX-License-Identifier: MIT
#include "widgets/drawing.h"

#include <algorithm>
#include <cmath>

#include <QPainter>
#include <QTextLayout>

#include "text/measure/size_with_font.h"
#include "widgets/palette.h"

namespace tavelo::drawing {
namespace {

// The inner half of a one-point line along the edge.
constexpr double visibleOutline = 0.5;

bool keepsRectangles(const QTransform& transform) {
    return transform.type() <= QTransform::TxScale && transform.isInvertible();
}

QPointF snapped(const QPainter& painter, const QPointF& point) {
    const QTransform toDevice = painter.deviceTransform();
    if (!keepsRectangles(toDevice)) return point;
    const QPointF device = toDevice.map(point);
    return toDevice.inverted().map(QPointF(std::round(device.x()), std::round(device.y())));
}

} // namespace

QRectF snapped(const QPainter& painter, const QRectF& rect) {
    return {snapped(painter, rect.topLeft()), snapped(painter, rect.bottomRight())};
}

QPainterPath roundedRect(const QRectF& rect, double radius) {
    QPainterPath path;
    const double fitting = std::clamp(radius, 0.0, std::max(0.0, std::min(rect.width(), rect.height()) / 2));
    path.addRoundedRect(rect, fitting, fitting);
    return path;
}

void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& stroke,
                 const QColor& fill) {
    if (rect.isEmpty()) return;
    constexpr double inset = visibleOutline;
    const QPainterPath shape = roundedRect(rect, radius);
    QPainterPath outline = shape;
    outline.addPath(roundedRect(rect.adjusted(inset, inset, -inset, -inset), radius - inset));

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(shape, fill);
    // The path holds the outer and the inner edge; the odd-even rule fills only the area between them.
    painter.fillPath(outline, stroke);
    painter.restore();
}

void drawKnob(QPainter& painter, const QRectF& track, double x) {
    const double diameter = track.height();
    drawRounded(painter, QRectF(track.left() + x, track.top(), diameter, diameter), diameter / 2,
                palette::outlineGrey, palette::accentRed);
}

void drawCentredText(QPainter& painter, const QRectF& rect, const QString& text, const TextLook& look,
                     double raise) {
    if (text.isEmpty()) return;
    const QSizeF size = sizeWithFont(text, look.font, rect.width());
    // Aligned to whole device pixels, because text between two pixels would be blurred.
    const QPointF origin =
        snapped(painter, QPointF(rect.left() + (rect.width() - size.width()) / 2,
                                 rect.top() + (rect.height() - size.height()) / 2 - raise));

    QString lines = text;
    lines.replace(QChar::LineFeed, QChar::LineSeparator);
    QTextLayout layout(lines, look.font);
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(std::max(size.width(), 1.0));
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();

    painter.save();
    if (look.shadow) {
        painter.setPen(look.shadow->color);
        layout.draw(&painter, origin + QPointF(look.shadow->offset.x(), -look.shadow->offset.y()));
    }
    painter.setPen(look.color);
    layout.draw(&painter, origin);
    painter.restore();
}

} // namespace tavelo::drawing
