// SPDX-License-Identifier: MIT
// Makes text that a camera or another program chose harmless to a terminal.
#pragma once

#include <string>

namespace tavelo {

/// Control characters become spaces.
std::string printable(std::string text);

/// All but printable ASCII characters become question marks.
std::string printableAscii(std::string text);

} // namespace tavelo
