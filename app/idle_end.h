// SPDX-License-Identifier: MIT
// Notices when nobody needs the service any more.
#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

namespace tavelo {

/// Main thread.
class IdleEnd final : public QObject {
    Q_OBJECT

public:
    /// @param isIdle whether nothing runs now
    IdleEnd(std::chrono::milliseconds patience, std::function<bool()> isIdle);

    /// Somebody used the service: waits from the beginning.
    void restart() { timer_.start(); }

Q_SIGNALS:
    /// Nobody used the service for a while, and nothing runs.
    void reached();

private:
    void check();

    const std::function<bool()> isIdle_;
    QTimer timer_;
};

} // namespace tavelo
