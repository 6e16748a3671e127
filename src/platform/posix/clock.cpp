// The performance counter, over the monotonic clock, and the allocator's way with large blocks.
#include "platform/system.h"

#include <cstdlib>
#include <ctime>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

constexpr std::int64_t TicksPerSecond = 1'000'000'000;

} // namespace

BOOL QueryPerformanceCounter(std::int64_t* counter)
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    *counter = now.tv_sec * TicksPerSecond + now.tv_nsec;
    return TRUE;
}

BOOL QueryPerformanceFrequency(std::int64_t* frequency)
{
    *frequency = TicksPerSecond;
    return TRUE;
}

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
