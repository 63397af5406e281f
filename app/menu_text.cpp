// SPDX-License-Identifier: MIT
#include "app/menu_text.h"

namespace tavelo {

QString plainMenuText(QString text) {
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace tavelo
