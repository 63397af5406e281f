// SPDX-License-Identifier: MIT
// What this process holds: threads, descriptors and memory.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <ostream>

namespace tavelo::testing {

struct ResourceCounts {
    std::size_t threads = 0;
    std::size_t descriptors = 0;
    // Bytes in use; 0 under a sanitizer that has an allocator of its own.
    std::size_t small = 0;
    std::size_t large = 0; ///< pictures

    /// Call it first: otherwise the limit between small and large blocks moves.
    static void tellSizesApart() { ::mallopt(M_MMAP_THRESHOLD, 1 << 17); }

    static ResourceCounts now() {
        const struct mallinfo2 memory = ::mallinfo2();
        // Its own descriptor is one of those that the second folder lists.
        return {entriesOf("/proc/self/task"), entriesOf("/proc/self/fd") - 1, memory.uordblks, memory.hblkhd};
    }

    friend std::ostream& operator<<(std::ostream& out, const ResourceCounts& counts) {
        return out << counts.threads << " threads, " << counts.descriptors << " descriptors, " << counts.small
                   << " bytes in small blocks, " << counts.large << " in large ones";
    }

private:
    static std::size_t entriesOf(const char* folder) {
        const std::filesystem::directory_iterator entries(folder);
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
};

} // namespace tavelo::testing
