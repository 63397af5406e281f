// SPDX-License-Identifier: MIT
// Files that verbs write.
#pragma once

#include <string>

namespace tavelo {

/// Writes a file as a whole, or leaves the one that is there as it is.  Follows links.  Throws Failure.
void writeOutputFile(const std::string& path, const std::string& content);

} // namespace tavelo
