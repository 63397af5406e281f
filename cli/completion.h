// SPDX-License-Identifier: MIT
// The words that may follow on a command line; the shells' completion scripts ask for them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/verb.h"

namespace CLI {
class App;
}

namespace tavelo {

/// The hidden verb that the scripts call.
inline constexpr const char* completionVerb = "complete";

/// Prints one candidate per line, a tab and its meaning.
/// @param words all words of the command line after the program's name; the last is the one being typed
/// @return 0; without candidates it prints nothing
int printCandidates(const CLI::App& app, const std::vector<std::unique_ptr<Verb>>& verbs,
                    const std::vector<std::string>& words, const SessionEnvironment& environment);

} // namespace tavelo
