// SPDX-License-Identifier: MIT
// System calls that fail when a test wants them to.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavelo::testing {

/// Stands between a test program and the system calls that handle files: they are recorded, and one of them
/// fails.  Only calls on files in one folder count.  A program has one of these at a time; it works for all
/// its threads, and the program's own code must link tavelo_failing_calls for it.
class FailingCalls {
public:
    /// Does nothing but record until told otherwise.
    explicit FailingCalls(const std::string& folder);
    ~FailingCalls();

    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    /// The call with this number, from 0 up, fails once.
    void failOnce(std::size_t number, int error);
    /// Every call of this name fails ("linkat", and apart from their plain forms "openat unnamed" and
    /// "renameat2 exchange").
    void failAlways(std::string_view call, int error);
    /// Each write takes less than it was given.
    void shortenWrites();

    struct Call {
        std::string name;
        std::string file; ///< within the folder; empty for the folder itself
    };
    /// What was called so far, in this order.
    std::vector<Call> calls() const;
};

} // namespace tavelo::testing
