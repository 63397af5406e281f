// SPDX-License-Identifier: MIT
// Class identifiers as text, in the usual groups: "63610682-5070-49ab-b8cc-b3855e8d221f".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/extension_unit.h"

namespace tavelo {

// Both are pure and reentrant.

std::string guidText(const Guid& guid);

/// Reads what guidText() writes, and capital letters.
std::optional<Guid> guidOf(std::string_view text);

} // namespace tavelo
