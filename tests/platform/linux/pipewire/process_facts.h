// SPDX-License-Identifier: MIT
// What this process has open.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace tavelo::testing {

inline std::size_t entriesOf(const char* folder) {
    std::error_code ignored;
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder, ignored),
                                                  std::filesystem::directory_iterator()));
}

/// One more than there are, for the folder that is read.
inline std::size_t openDescriptors() {
    return entriesOf("/proc/self/fd");
}

inline std::size_t runningThreads() {
    return entriesOf("/proc/self/task");
}

} // namespace tavelo::testing
