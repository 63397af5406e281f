// SPDX-License-Identifier: MIT
#include "process/qt_main_queue.h"

#include <memory>
#include <utility>

namespace tavelo {

void QtMainQueue::post(Task task) {
    // Qt copies the functor, but a task cannot be copied.
    QMetaObject::invokeMethod(
        this, [shared = std::make_shared<Task>(std::move(task))] { (*shared)(); }, Qt::QueuedConnection);
}

} // namespace tavelo
