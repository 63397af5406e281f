// SPDX-License-Identifier: MIT
// From a background thread back to the panel.
#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>
#include <utility>

#include "panel/view_controller.h"

namespace tavelo {

/// Runs `function(panel)` later on the main thread, unless the panel is gone by then.  Thread-safe.
template <typename F>
void onMainThread(const QPointer<ViewController>& panel, F function) {
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [panel, function = std::move(function)] {
            if (panel) function(*panel);
        },
        Qt::QueuedConnection);
}

} // namespace tavelo
