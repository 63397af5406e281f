// SPDX-License-Identifier: MIT
// Which build of the programs this is.
#pragma once

#include <string>

namespace tavelo {

/// "1.0.0 (0f0dd1d2b3c4)": the version and the commit.  "1.0.0 (0f0dd1d2b3c4, changed)" if files differed
/// from that commit when it was built; "1.0.0" if it was not built from a checkout of git.  Thread-safe.
std::string fullVersion();

} // namespace tavelo
