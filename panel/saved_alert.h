// SPDX-License-Identifier: MIT
// Tells the user that a profile was saved.
#pragma once

#include <QWidget>

#include "platform/bundle.h"

namespace tavelo {

/// Modal: returns once the user has dismissed it.  Main thread.
void showSavedAlert(QWidget* parent, const Bundle& bundle);

} // namespace tavelo
