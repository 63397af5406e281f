// SPDX-License-Identifier: MIT
#include "app/recording_title.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <utility>

namespace tavelo {
namespace {

constexpr QColor dotRed(224, 32, 32);

} // namespace

RecordingTitle::RecordingTitle(QWidget& window, const RecordingClock& clock)
    : window_(window),
      clock_(clock),
      title_(window.windowTitle()) {
    connect(&clock, &RecordingClock::changed, this, &RecordingTitle::show);
}

void RecordingTitle::show() {
    const bool runs = clock_.isRunning();
    // U+1F534 is a red disc.
    window_.setWindowTitle(runs ? QStringLiteral("\U0001F534 %1 %2").arg(clock_.text(), title_) : title_);
    if (std::exchange(isMarked_, runs) == runs) return;
    const QIcon icon = QGuiApplication::windowIcon();
    window_.setWindowIcon(runs ? withRedDot(icon) : icon);
}

QIcon withRedDot(const QIcon& icon) {
    QIcon marked;
    for (const int wanted : {22, 32, 48, 64, 128}) {
        QPixmap picture = icon.isNull() ? QPixmap(wanted, wanted) : icon.pixmap(wanted, wanted);
        if (icon.isNull()) picture.fill(Qt::transparent);
        const int size = picture.width(); // smaller if the icon does not have that size
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::white, size / 24.0));
        painter.setBrush(dotRed);
        const double radius = size * 0.2;
        painter.drawEllipse(QPointF(size - radius - 1, size - radius - 1), radius, radius);
        painter.end();
        marked.addPixmap(picture);
    }
    return marked;
}

} // namespace tavelo
