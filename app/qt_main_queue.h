// SPDX-License-Identifier: MIT
// The main queue on Qt's event loop.
#pragma once

#include <QObject>

#include "platform/main_queue.h"

namespace tavelo {

/// Made on the main thread, after the application object; tasks still waiting die with it.
class QtMainQueue final : public QObject, public MainQueue {
    Q_OBJECT

public:
    void post(Task task) override;
};

} // namespace tavelo
