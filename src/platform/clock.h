// The performance counter.
#pragma once

#include "platform/types.h"

#include <cstdint>

BOOL QueryPerformanceCounter(std::int64_t* counter);     // monotonic ticks
BOOL QueryPerformanceFrequency(std::int64_t* frequency); // ticks a second
