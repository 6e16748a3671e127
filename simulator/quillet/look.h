// What the picture of the preview is made of on every system: measures, colors, texts and motion.
#pragma once

#include <cstdint>

inline constexpr int FramePeriod = 40;     // milliseconds
inline constexpr double SweepPeriod = 4.0; // seconds
inline constexpr double LampPeriod = 1.6;
inline constexpr int GridStep = 24; // pixels
inline constexpr int Margin = 18;
inline constexpr int RingRadius = 3 * GridStep;

struct Color
{
    std::uint8_t red, green, blue;
    std::uint8_t alpha = 255;
};
inline constexpr Color Background{9, 17, 22};
inline constexpr Color Glow{20, 44, 52};
inline constexpr Color MinorLine{70, 150, 160, 28};
inline constexpr Color MajorLine{70, 170, 180, 64};
inline constexpr Color Mark{120, 226, 226, 210};
inline constexpr Color Plate{0, 0, 0, 165};
inline constexpr Color Text{226, 240, 240};
inline constexpr Color Gray{140, 160, 164};
inline constexpr Color Amber{255, 184, 60};
inline constexpr Color Green{96, 222, 130};
inline constexpr Color Red{255, 94, 72};

// The lines are counted from the middle, where the beam's center should be; every fifth is a major
// one.
constexpr Color GridLine(int index)
{
    return index % 5 == 0 ? MajorLine : MinorLine;
}

// The texts of a phase of the sensor, UTF-8; "%1" stands for the seconds left.
struct PhaseLook
{
    std::uint32_t phase; // a TarnPhase
    Color lamp;
    const char* state;
    const char* prompt;
    const char* countdown; // empty: without one
    const char* accessibleName;
};

// For a capture library that does not report its phase.
inline constexpr PhaseLook UnknownLook{0, Green, "SENSOR ARMED", "", "", "Preview: sensor armed"};

// The unknown look for a number that is no phase.
const PhaseLook& LookOf(std::uint32_t phase);

// Position of the sweeping line: 0 at the left edge, 1 at the right. It moves there and back once
// per period and slows down at both ends.
double SweepPosition(double seconds);

// Brightness of the lamp, 0.1 to 1, one cycle per period.
double LampBrightness(double seconds);
