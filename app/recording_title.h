// SPDX-License-Identifier: MIT
// Shows in the window's title and icon that a movie is being recorded, or that the picture is shared.
#pragma once

#include <QIcon>
#include <QObject>
#include <QString>
#include <QWidget>
#include <cstdint>

#include "app/recording_clock.h"

namespace tavelo {

/// The dot in the corner of an icon.
enum class IconMark : std::uint8_t {
    none,
    shared,  ///< blue
    recorded ///< red
};

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
    IconMark mark_ = IconMark::none;
};

/// "🔴 0:07 text", for titles.
QString recordingText(const RecordingClock& clock, const QString& text);

/// An icon with a mark, which is not `none`.
QIcon withMark(const QIcon& icon, IconMark mark);

/// An icon in the sizes of title bars, task bars and trays.  Trays get pictures, not the drawing.
QIcon inUsualSizes(const QIcon& icon);

} // namespace tavelo
