// SPDX-License-Identifier: MIT
// The panel's colours for widgets drawn by Qt: message boxes, menus, tool tips, dialogs.
#pragma once

#include <QPalette>
#include <QString>
#include <QWidget>

namespace tavelo {

// All for the main thread.  The application's palette and font are the desktop's, and say what its user
// needs: black and white if the contrast is to be high, and large text.

bool hasHighContrast(const QPalette& desktop);

/// By how much text is larger than ordinary: 1 to 2.
double textScale();
/// A length that text has to fit into.
int scaled(int points);

/// Replaces "@panel", "@setting", "@outline", "@line", "@quiet" (text), "@track", "@accent", "@selected",
/// "@button" and "@focus" by colours, "@small", "@text", "@large" and "@title" by sizes of text, and "@tall"
/// by the height of a button.
QString panelStyle(QString sheet);

/// Gives a message box, menu or dialog and its children the panel's colours, regardless of the desktop's
/// theme; black and white if the user needs it.  Default push buttons get the accent colour.  May be called
/// again, to follow the desktop.
/// @param more of the style sheet, for panelStyle()
void applyPanelLook(QWidget& window, const QString& more = {});

/// Does the same for all tool tips of the program.
void applyToolTipLook();

} // namespace tavelo
