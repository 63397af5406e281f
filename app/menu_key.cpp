// SPDX-License-Identifier: MIT
#include "app/menu_key.h"

namespace tavelo {

void setMenuKey(QAction& action, const QKeySequence& key, QWidget& window) {
    action.setShortcut(key);
    action.setShortcutVisibleInContextMenu(true);
    action.setAutoRepeat(false);
    window.addAction(&action);
}

} // namespace tavelo
