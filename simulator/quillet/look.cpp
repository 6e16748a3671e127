// The phases' texts and the motion of the picture.
#include "simulator/quillet/look.h"

#include "simulator/tarn/hand_switch.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace {

constexpr PhaseLook PhaseLooks[] = {
    {TarnPhaseIdle, Gray, "SENSOR IDLE", "", "", "Preview: sensor idle"},
    {TarnPhaseArming, Amber, "ARMING", "The sensor is getting ready", "ready in %1 s",
     "Preview: sensor arming"},
    {TarnPhaseArmed, Green, "SENSOR ARMED", "Click here or press Space to expose", "%1 s left",
     "Preview: sensor armed; press Space to expose"},
    {TarnPhaseReading, Red, "READING OUT", "The image is on its way", "image in %1 s",
     "Preview: reading out"},
};

double Cycle(double seconds, double period)
{
    return std::cos(2.0 * std::numbers::pi * seconds / period);
}

} // namespace

const PhaseLook& LookOf(std::uint32_t phase)
{
    const auto* const look = std::ranges::find(PhaseLooks, phase, &PhaseLook::phase);
    return look != std::end(PhaseLooks) ? *look : UnknownLook;
}

double SweepPosition(double seconds)
{
    return 0.5 - 0.5 * Cycle(seconds, SweepPeriod);
}

double LampBrightness(double seconds)
{
    return 0.55 + 0.45 * Cycle(seconds, LampPeriod);
}
