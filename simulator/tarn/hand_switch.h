// What the simulated capture library offers the simulated preview besides its numbered exports:
// the hand switch, how far the sensor is, and its faults and trace. Found by name in the loaded
// libTarn.so.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t TarnPhaseIdle = 0;
inline constexpr std::uint32_t TarnPhaseArming = 1;
inline constexpr std::uint32_t TarnPhaseArmed = 2;
inline constexpr std::uint32_t TarnPhaseReading = 3;

extern "C" {
// Exposes at once. Returns 0, or an error result when no sensor is armed.
std::uint32_t TarnSimulatorHandSwitch();

// Returns the phase. *secondsLeft (may be null): real seconds until the phase ends by itself,
// negative when it does not.
std::uint32_t TarnSimulatorArmedState(double* secondsLeft);

// Begins a call of the preview's export of that name: logs it and lets a fault rule have its way.
// Returns the rule's result; when it is not 0 the call is to return it and do nothing.
std::uint32_t TarnSimulatorPreviewCall(const char* name);
}
