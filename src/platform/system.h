// Messages across threads, the performance counter and the beeper.
#pragma once

#include "platform/types.h"

#include <cstdint>

// Puts a message into the window's queue; callable from any thread, before, during and after the
// window's life. Returns 0 when there is no such window, its queue is full
// or memory is short; throws nothing. Exported unmangled
// because loaded libraries report their events with it.
extern "C" int PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

BOOL QueryPerformanceCounter(std::int64_t* counter);     // monotonic ticks
BOOL QueryPerformanceFrequency(std::int64_t* frequency); // ticks a second

// Sounds the beeper without waiting for the tone to end. frequency: hertz, duration: milliseconds.
BOOL Beep(DWORD frequency, DWORD duration);

// Lets the allocator keep up to 256 MiB of freed memory for the next picture. By default each large
// block comes from the system anew and costs a page fault every 4 KiB when it is first written,
// many times the copy itself. A threshold set in the environment (MALLOC_TRIM_THRESHOLD_) stays.
void KeepFreedBlocks();
