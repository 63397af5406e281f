// SPDX-License-Identifier: MIT
// What a crash leaves behind: the functions that were running, by name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavelo {

/// $XDG_STATE_HOME/tavelo, by default in ~/.local/state; empty if there is neither.
std::string crashFolder();

/// From now on a signal that ends this process with a core dump first writes a raw report into the folder,
/// which is made when it is needed.  Then the process ends as it would have.  A signal that somebody else
/// handles already (a sanitizer) is left to him.  An overflow of another stack than the calling thread's
/// leaves no report.
///
/// Once, before other threads start.
/// @param folder nothing is done if it is empty or longer than a path may be
void reportCrashes(const std::string& folder, std::string_view program, std::string_view version);

/// Makes this program's raw reports readable and deletes them; all but the newest few reports of the folder
/// go.
/// @return the new reports, the newest last
std::vector<std::string> collectCrashReports(const std::string& folder, std::string_view program);

} // namespace tavelo
