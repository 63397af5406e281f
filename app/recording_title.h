// SPDX-License-Identifier: MIT
// Shows in the window's title and icon that a movie is being recorded, or that the picture is shared.
#pragma once

#include <QObject>
#include <QString>
#include <QWidget>

#include "app/marked_icons.h"
#include "app/recording_clock.h"

namespace tavelo {

/// The panel's face stays as it is: title and icon are what task bars show.  Main thread.
class RecordingTitle final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive this object.
    RecordingTitle(QWidget& window, const RecordingClock& clock);

    /// @param text says that the picture is shared; empty: it is not
    void setShared(const QString& text);

private:
    void show();

    QWidget& window_;
    const RecordingClock& clock_;
    const QString title_; // while nothing happens
    QString shared_;
    MarkedIcons icons_;
    IconMark mark_ = IconMark::none;
};

/// "🔴 0:07 text", for titles.
QString recordingText(const RecordingClock& clock, const QString& text);

} // namespace tavelo
