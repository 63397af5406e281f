// SPDX-License-Identifier: MIT
// The machine's clock, and timers on Qt's event loop.
#pragma once

#include <QObject>

#include "platform/clock.h"

namespace tavelo {

/// Created on the main thread, after the application object.
class QtClock final : public QObject, public Clock {
    Q_OBJECT

public:
    TimePoint now() const override;
    std::chrono::nanoseconds slept() const override;
    void callAfter(std::chrono::milliseconds time, Task task) override;
};

} // namespace tavelo
