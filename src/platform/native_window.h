// The window system's own window behind a handle, for libraries that put pictures of their own into
// the program's windows.
#pragma once

#include "platform/types.h"

// Exported unmangled, as PostMessageA is; on the user-interface thread. Gives the toolkit's window
// (a QWidget*) on Linux, and on Windows the handle itself, which is the system's own. Null for a
// handle that names no live window, and where windows have no screen. The window may end at any
// time: its owner does not ask who keeps it.
extern "C" void* NativeWindowOf(HWND window);
