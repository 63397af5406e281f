// SPDX-License-Identifier: MIT
// One verb of taveloctl.
#pragma once

#include <string>
#include <vector>

#include "cli/session.h"

namespace CLI {
class App;
}

namespace tavelo {

/// A word that completes a command line.
struct Candidate {
    std::string word;
    std::string meaning = {}; ///< half a line, or empty
};

/// Main thread only; used for one command line.
class Verb {
public:
    virtual ~Verb() = default;

    virtual const char* name() const = 0;
    /// One sentence without a full stop.
    virtual const char* help() const = 0;

    virtual void addOptions(CLI::App& command) = 0;
    /// Throws Failure.
    virtual void run(Session& session) = 0;

    /// What may follow.
    /// @param words the arguments so far, without options
    /// @param begun the word that is being typed
    virtual std::vector<Candidate> candidates(Session& /*session*/, const std::vector<std::string>& /*words*/,
                                              const std::string& /*begun*/) {
        return {};
    }
};

} // namespace tavelo
