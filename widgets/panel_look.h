// SPDX-License-Identifier: MIT
// The panel's colours for widgets drawn by Qt: message boxes, menus, tool tips, dialogs.
#pragma once

#include <QWidget>

namespace tavelo {

/// Gives a message box, menu or dialog and its children the panel's colours, regardless of the desktop's
/// theme.  Default push buttons get the accent colour.  Main thread.
void applyPanelLook(QWidget& window);

/// Does the same for all tool tips of the program.  Main thread.
void applyToolTipLook();

} // namespace tavelo
