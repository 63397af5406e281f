// SPDX-License-Identifier: MIT
#include "app/recording_clock.h"

#include <chrono>

namespace tavelo {

using namespace std::chrono_literals;

RecordingClock::RecordingClock() {
    timer_.setTimerType(Qt::PreciseTimer); // a coarse one would skip a second now and then
    connect(&timer_, &QTimer::timeout, this, &RecordingClock::changed);
}

void RecordingClock::start() {
    if (isRunning()) return;
    since_.start();
    timer_.start(1s);
    Q_EMIT changed();
}

void RecordingClock::stop() {
    if (!isRunning()) return;
    timer_.stop();
    Q_EMIT changed();
}

QString RecordingClock::text() const {
    return durationText(isRunning() ? since_.elapsed() / 1000 : 0);
}

QString durationText(qint64 seconds) {
    constexpr qint64 inAMinute = 60;
    constexpr qint64 inAnHour = 60 * inAMinute;
    const auto two = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const qint64 hours = seconds / inAnHour;
    const qint64 minutes = seconds % inAnHour / inAMinute;
    const QString rest = two(seconds % inAMinute);
    return hours > 0 ? QStringLiteral("%1:%2:%3").arg(QString::number(hours), two(minutes), rest)
                     : QStringLiteral("%1:%2").arg(QString::number(minutes), rest);
}

} // namespace tavelo
