// SPDX-License-Identifier: MIT
// Names in the texts of menus.
#pragma once

#include <QString>

namespace tavelo {

/// Shows a text as it is: in a menu, an ampersand would mark a key.
QString plainMenuText(QString text);

} // namespace tavelo
