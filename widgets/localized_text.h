// SPDX-License-Identifier: MIT
// A bundle's texts, as Qt takes them.
#pragma once

#include <QString>
#include <string_view>

#include "platform/bundle.h"

namespace tavelo {

inline QString localizedText(const Bundle& bundle, std::string_view key) {
    return QString::fromStdString(bundle.localizedString(key, {}));
}

} // namespace tavelo
