// SPDX-License-Identifier: MIT
// File system calls that fail on request.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavelo::testing {

/// Intercepts file system calls on one folder: records them and makes some fail.  One object at a time; it
/// applies to all threads of the process.  The test program must link tavelo_failing_calls.
class FailingCalls {
public:
    /// Only records until a failure is set up.
    explicit FailingCalls(const std::string& folder);
    ~FailingCalls();

    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    /// The call with this number (starting at 0) fails once.
    void failOnce(std::size_t number, int error);
    /// Every call with this name fails, for example "linkat".  "openat unnamed" and "renameat2 exchange" are
    /// separate from the plain calls.
    void failAlways(std::string_view call, int error);
    /// Makes every write a short write.
    void shortenWrites();

    struct Call {
        std::string name;
        std::string file; ///< within the folder; empty for the folder itself
    };
    /// All calls so far, in order.
    std::vector<Call> calls() const;
};

} // namespace tavelo::testing
