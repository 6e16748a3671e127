// Messages across threads.
#pragma once

#include "platform/types.h"

// Puts a message into the window's queue; callable from any thread, before, during and after the
// window's life. Returns 0 when there is no such window, its queue is full or memory is short;
// throws nothing. Exported unmangled because loaded libraries report their events with it.
#if defined(_WIN32) && !defined(_WIN64)
extern "C" int __stdcall PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
#else
extern "C" int PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
#endif
