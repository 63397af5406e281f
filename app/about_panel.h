// SPDX-License-Identifier: MIT
// The about panel.
#pragma once

#include <QString>
#include <QWidget>

#include "platform/bundle.h"

namespace tavelo {

/// Shows the program's name, version and credits, with a button that opens the list of the software it uses.
/// If the panel is already open, it comes to the front.  Main thread.
/// @param bundle provides the texts; must outlive the panel
void showAboutPanel(QWidget* parent, const QString& credits, const Bundle& bundle);

} // namespace tavelo
