// SPDX-License-Identifier: MIT
#include "app/marked_icons.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>

namespace tavelo {
namespace {

constexpr QColor dotRed(224, 32, 32);
constexpr QColor dotBlue(32, 112, 224);

QPixmap pictureOf(const QIcon& icon, int size) {
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    icon.paint(&painter, picture.rect()); // scaled down, but not up, if the icon lacks the size
    return picture;
}

void drawDot(QPixmap& picture, const QColor& color) {
    const int size = picture.width();
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, size / 24.0));
    painter.setBrush(color);
    const double radius = size * 0.2;
    painter.drawEllipse(QPointF(size - radius - 1, size - radius - 1), radius, radius);
}

QIcon draw(IconMark mark) {
    QIcon marked;
    for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
        QPixmap picture = pictureOf(QGuiApplication::windowIcon(), size);
        if (mark != IconMark::none) drawDot(picture, mark == IconMark::recorded ? dotRed : dotBlue);
        marked.addPixmap(picture);
    }
    return marked;
}

} // namespace

const QIcon& MarkedIcons::with(IconMark mark) {
    QIcon& icon = icons_.at(static_cast<std::size_t>(mark));
    if (icon.isNull()) icon = draw(mark);
    return icon;
}

} // namespace tavelo
