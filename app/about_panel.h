// SPDX-License-Identifier: MIT
// The about panel.
#pragma once

#include <QString>
#include <QWidget>

#include "platform/bundle.h"

namespace tavelo {

/// Shows the program's name, version and the credits, with the way to the list of the software that it uses.
/// One panel at a time: an open one comes to the front.  Main thread.
/// @param bundle gives the texts; outlives the panel
void showAboutPanel(QWidget* parent, const QString& credits, const Bundle& bundle);

} // namespace tavelo
