// SPDX-License-Identifier: MIT
// The panel's colours for what the toolkit draws: messages, menus, tool tips, dialogs.
#pragma once

#include <QWidget>

namespace tavelo {

/// Dresses a message box, a menu or a dialog, with its children, in the panel's colours, whatever the
/// desktop's theme is.  Push buttons that are the default get the accent colour.  Main thread.
void wearPanelLook(QWidget& window);

/// The same for every tool tip of the program.  Main thread.
void dressToolTips();

} // namespace tavelo
