// SPDX-License-Identifier: MIT
// How long the panel has been recording.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

namespace tavelo {

/// Main thread.
class RecordingClock final : public QObject {
    Q_OBJECT

public:
    RecordingClock();

    void start();
    void stop();

    bool isRunning() const { return timer_.isActive(); }
    /// "0:07", "12:34", "1:02:03".
    QString text() const;

Q_SIGNALS:
    /// Started, stopped, or a second has passed.
    void changed();

private:
    QTimer timer_;
    QElapsedTimer since_;
};

/// A duration as RecordingClock::text() has it.
QString durationText(qint64 seconds);

} // namespace tavelo
