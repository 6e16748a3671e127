// The sensor as the preview sees it: its phase, the time that this takes, and the hand switch.
#pragma once

#include "simulator/quillet/look.h"

#include <cstdint>
#include <string>

// Functions of the simulated capture library; null when another library is loaded.
struct SensorLink
{
    std::uint32_t (*expose)() = nullptr;                   // returns 0 when exposing
    std::uint32_t (*phase)(double* secondsLeft) = nullptr; // see TarnSimulatorArmedState
};

class SensorWatch
{
public:
    explicit SensorWatch(const SensorLink& sensor) : m_sensor(sensor) {}

    bool CanExpose() const { return m_sensor.expose != nullptr; }
    void Expose();

    void Follow(); // asks for the phase and its end

    // As of the last Follow:
    const PhaseLook& Look() const;
    std::string Countdown() const; // UTF-8; empty when no end of the phase is in sight
    double ShareLeft() const;      // of the phase, 0 to 1; 0 when no end is in sight

private:
    bool IsCounting() const;

    SensorLink m_sensor;
    std::uint32_t m_phase = 0;
    double m_secondsLeft = -1.0;
    double m_phaseLength = -1.0; // seconds left when the phase began
};
