// SPDX-License-Identifier: MIT
// The keys of menu entries.
#pragma once

#include <QAction>
#include <QKeySequence>
#include <QWidget>

namespace tavelo {

/// Makes the key work in the whole window and shows it beside the menu's entry.  A key that is held down
/// counts once.
void setMenuKey(QAction& action, const QKeySequence& key, QWidget& window);

} // namespace tavelo
