// SPDX-License-Identifier: MIT
#include "all-controls/control_description.h"

#include <algorithm>

namespace tavelo {

void addIfMissing(std::vector<ShownChoice>& choices, std::int64_t value) {
    if (std::ranges::find(choices, value, &ShownChoice::value) == choices.end())
        choices.push_back({value, QString::number(value)});
}

} // namespace tavelo
