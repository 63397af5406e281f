// SPDX-License-Identifier: MIT
// The open-source software that the program uses, for people to read.
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

/// What the data file in the program lists.  Reentrant.
std::vector<UsedSoftware> usedSoftware();

/// Shows the list in a dialog of its own, over `parent`.  Main thread.
void showSoftwareList(QWidget* parent, const Bundle& bundle);

} // namespace tavelo
