// SPDX-License-Identifier: MIT
// Shows the open-source software that the program uses.
#pragma once

#include <QString>
#include <QWidget>
#include <vector>

#include "platform/bundle.h"

namespace tavelo {

struct UsedSoftware {
    QString name;
    QString licence; ///< its name in English, as its authors gave it
};

/// Reads the list from the program's resources.  Reentrant.
std::vector<UsedSoftware> usedSoftware();

/// Shows the list in a dialog over `parent`.  Main thread.
void showSoftwareList(QWidget* parent, const Bundle& bundle);

} // namespace tavelo
