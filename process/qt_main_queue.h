// SPDX-License-Identifier: MIT
// The main queue on Qt's event loop.
#pragma once

#include <QObject>

#include "platform/main_queue.h"

namespace tavelo {

/// Created on the main thread, after the application object.  Destruction drops the tasks that still wait.
class QtMainQueue final : public QObject, public MainQueue {
    Q_OBJECT

public:
    void post(Task task) override;
};

} // namespace tavelo
