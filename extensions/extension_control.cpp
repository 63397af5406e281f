// SPDX-License-Identifier: MIT
#include "extensions/extension_control.h"

namespace tavelo {

std::string_view titleIn(const Titles& titles, std::string_view language) {
    auto found = titles.find(language);
    if (found == titles.end()) found = titles.find("en");
    return found != titles.end() ? std::string_view(found->second) : std::string_view();
}

} // namespace tavelo
