// SPDX-License-Identifier: MIT
#include "version/full_version.h"

#include <string_view>

#include "tavelo_commit.h"

namespace tavelo {

std::string fullVersion() {
    constexpr std::string_view commit = TAVELO_COMMIT;
    std::string text = TAVELO_VERSION;
    if (!commit.empty()) text.append(" (").append(commit).append(")");
    return text;
}

} // namespace tavelo
