// SPDX-License-Identifier: MIT
// A group of entries of the context menu.
#pragma once

#include <QAction>
#include <QList>

namespace tavelo {

/// Main thread.
class MenuSection {
public:
    virtual ~MenuSection() = default;

    /// Called when the menu is about to open.  The section keeps its entries at least until the next call.
    /// Must not wait for a camera or a disk.
    virtual QList<QAction*> entries() = 0;

    /// Sets every text again, in the bundle's current language.
    virtual void retranslate() = 0;
};

} // namespace tavelo
