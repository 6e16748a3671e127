// The performance counter.
#include "platform/win32/native.h"

BOOL QueryPerformanceCounter(std::int64_t* counter)
{
    win::LARGE_INTEGER ticks{};
    const BOOL result = win::QueryPerformanceCounter(&ticks);
    *counter = ticks.QuadPart;
    return result;
}

BOOL QueryPerformanceFrequency(std::int64_t* frequency)
{
    win::LARGE_INTEGER ticks{};
    const BOOL result = win::QueryPerformanceFrequency(&ticks);
    *frequency = ticks.QuadPart;
    return result;
}
