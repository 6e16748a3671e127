// The simulated preview over the system's own drawing: a live picture over the image area and the
// hand switch that exposes.
#pragma once

#include <cstdint>

// How far the sensor is, in the capture library's numbers.
enum SensorPhase : std::uint32_t
{
    PhaseIdle = 0,
    PhaseArming = 1,
    PhaseArmed = 2,
    PhaseReading = 3,
};

// The way to the simulated capture library; null functions when another one is loaded.
struct SensorLink
{
    std::uint32_t (*expose)() = nullptr; // 0: exposing
    // A SensorPhase; negative seconds: no end in sight.
    std::uint32_t (*phase)(double* secondsLeft) = nullptr;
};

// A function of the capture library as the program has loaded it; it is not loaded for the
// preview's sake. Null when it is not there.
void* FindInTarn(const char* name);

// Screen pixels.
struct ScreenArea
{
    int left, top, width, height;
};

// A child of the window that asked for it, so that it moves, hides and ends with it. A click or
// Space exposes; the press itself, not the release.
class Preview
{
public:
    // owner: the system's window handle.
    Preview(void* owner, const ScreenArea& area, const SensorLink& sensor);
    ~Preview();
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;

    void* Owner() const { return m_owner; }

    // Shows the picture in front of its siblings. The keyboard goes to it, so that Space
    // exposes at once, unless the operator is typing into a field or walking through the
    // options.
    void Arm();
    void Disarm();

private:
    struct Painter;
    friend struct Painter;

    void FollowSensor();
    void Expose();

    void* m_owner;
    void* m_window;
    SensorLink m_sensor;
    std::uint64_t m_shownSince = 0; // milliseconds of the system's clock
    std::uint32_t m_phase = 0;
    double m_secondsLeft = -1.0;
    double m_phaseLength = -1.0; // what was left when the phase began
};
