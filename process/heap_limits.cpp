// SPDX-License-Identifier: MIT
#include "process/heap_limits.h"

#include <malloc.h>

namespace tavelo {

// By itself glibc moves this limit beyond the largest block that was freed.  Pictures of every size then lie
// in heaps among what lives long, and heaps hardly shrink.
void keepPicturesOutOfHeaps() {
    constexpr int limit = 512 << 10; // bytes; less than a picture, more than most compressed ones
    ::mallopt(M_MMAP_THRESHOLD, limit);
}

} // namespace tavelo
