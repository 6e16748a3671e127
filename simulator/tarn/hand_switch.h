// What the simulated capture library exports for the simulated preview: the hand switch, the phase
// of the sensor, fault rules and trace. Found by name in the loaded libTarn.so.
#pragma once

#include "device/tarn_abi.h"

enum TarnPhase : std::uint32_t
{
    TarnPhaseIdle = 0,
    TarnPhaseArming = 1,
    TarnPhaseArmed = 2,
    TarnPhaseReading = 3,
};

extern "C" {
// Exposes at once. Returns 0, or an error result when no sensor is armed.
std::uint32_t TarnSimulatorHandSwitch();

// Returns the phase. *secondsLeft (may be null): real seconds until the phase ends by itself,
// negative when it does not.
std::uint32_t TarnSimulatorArmedState(double* secondsLeft);

// Begins a call of one of the preview's exports: logs it and applies its fault rule. Returns the
// rule's result; when it is not 0 the call is to return it and do nothing.
std::uint32_t TarnSimulatorPreviewCall(Export which);
}
