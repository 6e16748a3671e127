// The queue of posted messages.
#pragma once

#include "platform/types.h"

// From OpenQueue to CloseQueue messages may be posted to the window; what is still waiting at the
// end is dropped.
void OpenQueue(HWND window);
void CloseQueue(HWND window);
