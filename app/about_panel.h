// SPDX-License-Identifier: MIT
// The about panel: icon, name, version, credits.
#pragma once

#include <QString>
#include <QWidget>

namespace tavelo {

/// Shows it and returns at once; a panel that is open already comes to the front.  Main thread.
/// @param parent may be null
void showAboutPanel(QWidget* parent, const QString& credits);

} // namespace tavelo
