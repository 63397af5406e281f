// SPDX-License-Identifier: MIT
#include "app/recording_title.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <utility>
#include <vector>

namespace tavelo {
namespace {

constexpr QColor dotRed(224, 32, 32);
constexpr QColor dotBlue(32, 112, 224);

std::vector<QPixmap> picturesOf(const QIcon& icon) {
    std::vector<QPixmap> pictures;
    for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
        QPixmap picture(size, size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        icon.paint(&painter, picture.rect()); // scaled down, but not up, if the icon lacks the size
        painter.end();
        pictures.push_back(picture);
    }
    return pictures;
}

} // namespace

RecordingTitle::RecordingTitle(QWidget& window, const RecordingClock& clock)
    : window_(window),
      clock_(clock),
      title_(window.windowTitle()) {
    connect(&clock, &RecordingClock::changed, this, &RecordingTitle::show);
}

void RecordingTitle::setShared(const QString& text) {
    shared_ = text;
    show();
}

void RecordingTitle::show() {
    const bool runs = clock_.isRunning();
    const QString title = shared_.isEmpty() ? title_ : QStringLiteral("%1 – %2").arg(shared_, title_);
    window_.setWindowTitle(runs ? recordingText(clock_, title) : title);
    const IconMark mark = runs ? IconMark::recorded : shared_.isEmpty() ? IconMark::none : IconMark::shared;
    if (std::exchange(mark_, mark) == mark) return;
    const QIcon icon = QGuiApplication::windowIcon();
    window_.setWindowIcon(mark == IconMark::none ? icon : withMark(icon, mark));
}

QString recordingText(const RecordingClock& clock, const QString& text) {
    // U+1F534 is a red disc.
    return QStringLiteral("\U0001F534 %1 %2").arg(clock.text(), text);
}

QIcon withMark(const QIcon& icon, IconMark mark) {
    QIcon marked;
    for (QPixmap picture : picturesOf(icon)) {
        const int size = picture.width();
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::white, size / 24.0));
        painter.setBrush(mark == IconMark::recorded ? dotRed : dotBlue);
        const double radius = size * 0.2;
        painter.drawEllipse(QPointF(size - radius - 1, size - radius - 1), radius, radius);
        painter.end();
        marked.addPixmap(picture);
    }
    return marked;
}

QIcon inUsualSizes(const QIcon& icon) {
    QIcon result;
    for (const QPixmap& picture : picturesOf(icon))
        result.addPixmap(picture);
    return result;
}

} // namespace tavelo
