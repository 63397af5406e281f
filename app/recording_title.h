// SPDX-License-Identifier: MIT
// Shows in the window's title and icon that a movie is being recorded.
#pragma once

#include <QIcon>
#include <QObject>
#include <QString>
#include <QWidget>

#include "app/recording_clock.h"

namespace tavelo {

/// The panel's face stays as it is: title and icon are what task bars show.  Main thread.
class RecordingTitle final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive this object.
    RecordingTitle(QWidget& window, const RecordingClock& clock);

private:
    void show();

    QWidget& window_;
    const RecordingClock& clock_;
    const QString title_;   // while nothing is recorded
    bool isMarked_ = false; // the icon has the dot
};

/// "🔴 0:07 text", for titles.
QString recordingText(const RecordingClock& clock, const QString& text);

/// An icon with a red dot in its corner.
QIcon withRedDot(const QIcon& icon);

/// An icon in the sizes of title bars, task bars and trays.  Trays get pictures, not the drawing.
QIcon inUsualSizes(const QIcon& icon);

} // namespace tavelo
