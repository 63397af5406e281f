// SPDX-License-Identifier: MIT
#include "app/recording_title.h"

#include <QGuiApplication>
#include <utility>

namespace tavelo {
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
    window_.setWindowIcon(mark == IconMark::none ? QGuiApplication::windowIcon() : icons_.with(mark));
}

QString recordingText(const RecordingClock& clock, const QString& text) {
    // U+1F534 is a red disc.
    return QStringLiteral("\U0001F534 %1 %2").arg(clock.text(), text);
}

} // namespace tavelo
