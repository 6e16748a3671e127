// Sets the thresholds of the C library's allocator.
#include "platform/posix/allocator.h"

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

void KeepFreedBlocks()
{
#ifdef __GLIBC__
    // Whoever measures what is in use sets the threshold from outside.
    if (std::getenv("MALLOC_TRIM_THRESHOLD_") != nullptr) {
        return;
    }
    constexpr int KeptAtMost = 256 << 20;
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, KeptAtMost);
#endif
}
