// The performance counter, over the monotonic clock.
#include "platform/clock.h"

#include <ctime>

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
