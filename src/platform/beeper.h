// The beeper.
#pragma once

#include "platform/types.h"

// Sounds the beeper without waiting for the tone to end. frequency: hertz, duration: milliseconds.
BOOL Beep(DWORD frequency, DWORD duration);
