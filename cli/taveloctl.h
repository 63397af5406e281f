// SPDX-License-Identifier: MIT
// Parses a command line of taveloctl and runs its verb.
#pragma once

#include <string>
#include <vector>

#include "cli/session.h"

namespace tavelo {

/// Needs an application object for verbs that wait.  Main thread.
/// @param arguments without the program's name
/// @param version what --version prints after the program's name
/// @param error receives one line without the program's name if the status is not 0
/// @return the exit status
int runTaveloctl(const std::vector<std::string>& arguments, const std::string& version,
                 const SessionEnvironment& environment, std::string& error);

} // namespace tavelo
